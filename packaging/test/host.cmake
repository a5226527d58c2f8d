# SPDX-License-Identifier: Apache-2.0
#
# A program of somebody else's that opens the store and has the framework.
cmake_minimum_required(VERSION 3.20)
project(host LANGUAGES CXX)
find_package(zpf 0.1 REQUIRED)
add_executable(host host.cpp)
target_link_libraries(host PRIVATE zpf::kelda zpf::map)
