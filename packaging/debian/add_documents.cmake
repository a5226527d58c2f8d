# SPDX-License-Identifier: Apache-2.0
#
# Adds what every Debian package carries, to both packages, before they are closed.
set(copyright "Format: https://www.debian.org/doc/packaging-manuals/copyright-format/1.0/
Upstream-Name: zpf

Files: *
Copyright: 2026 The zpf project
License: Apache-2.0

License: Apache-2.0
 On Debian systems the text of the Apache License, version 2.0, is in
 /usr/share/common-licenses/Apache-2.0.
")
set(changelog "zpf (${CPACK_PACKAGE_VERSION}) unstable; urgency=medium

  * See the project's own history for what has changed.

 -- ${CPACK_PACKAGE_CONTACT}  Sat, 21 Nov 2026 12:00:00 +0000
")

find_program(GZIP gzip REQUIRED)
foreach(component ${CPACK_COMPONENTS_ALL})
  string(TOUPPER ${component} upper)
  set(folder ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/${component}/usr/share/doc/${CPACK_DEBIAN_${upper}_PACKAGE_NAME})
  file(WRITE ${folder}/copyright "${copyright}")
  file(WRITE ${folder}/changelog "${changelog}")
  execute_process(COMMAND ${GZIP} -9 -n -f ${folder}/changelog COMMAND_ERROR_IS_FATAL ANY)
endforeach()
