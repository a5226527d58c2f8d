# SPDX-License-Identifier: Apache-2.0
#
# The Debian packages zpf and zpf-dev, made by `cpack -G DEB` in a release build.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME zpf)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_VENDOR "The zpf project")
set(CPACK_PACKAGE_CONTACT "The zpf project <zpf@example.invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "") # each package has its own, as the first line of its description
set(CPACK_STRIP_FILES ON)
# The service's files stand outside of the prefix, so the prefix is what it will be on the device.
set(CPACK_SET_DESTDIR ON)
set(CPACK_INSTALL_PREFIX /usr)

set(CPACK_COMPONENTS_ALL runtime dev)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER ${CPACK_PACKAGE_CONTACT})
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME zpf)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION net)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
# libyuma-base has the protocol's YANG modules; adduser makes the agent's user.
set(CPACK_DEBIAN_RUNTIME_PACKAGE_DEPENDS "libyuma-base, adduser, init-system-helpers (>= 1.52)")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SUGGESTS "openssh-server")
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION "NETCONF agent of an optical device, with OpenConfig attenuators
The agent zpfd is the management plane of an optical device: NETCONF clients
read and edit its variable optical attenuators through the model
openconfig-optical-attenuator, and the device's native models beside it.
.
The tool zpf shows and sets the attenuators on the device itself, follows
changes, tends the data store, and runs single mappings.")
set(scripts ${CMAKE_CURRENT_SOURCE_DIR}/debian)
file(WRITE ${CMAKE_CURRENT_BINARY_DIR}/conffiles "/etc/default/zpfd\n")
# The libraries are where the dynamic linker looks, once it is told.
file(WRITE ${CMAKE_CURRENT_BINARY_DIR}/triggers "activate-noawait ldconfig\n")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA
    ${CMAKE_CURRENT_BINARY_DIR}/conffiles ${CMAKE_CURRENT_BINARY_DIR}/triggers
    ${scripts}/postinst ${scripts}/prerm ${scripts}/postrm)

set(CPACK_DEBIAN_DEV_PACKAGE_NAME zpf-dev)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION devel)
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS "zpf (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_DEV_DESCRIPTION "files for authors of the optical device's mapping plug-ins
Headers, CMake package and pkg-config files, the guide, and an example of a
mapping plug-in for zpf.")

# Debian's own documents; other installations have no use for them.
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_CURRENT_SOURCE_DIR}/debian/add_documents.cmake)
include(CPack)
