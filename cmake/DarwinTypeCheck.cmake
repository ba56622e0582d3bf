# Toolchain for type-checking the macOS build on Linux: clang's Darwin target
# against the macOS SDK tree of ../shared/tools/macos/setup-sdk, with Apple's
# libc++ from that tree and the host's Qt, simdjson, ICU and SQLite headers.
# Nothing can be linked (the SDK subset has no libSystem), so this configure
# only produces compile_commands.json and Qt's generated sources; the macos
# stage of scripts/test.sh runs each command with -fsyntax-only. APPLE is true
# here, so every if(APPLE) branch, the deployment target and the flags of
# cmake/MacosBuild.cmake are exactly the real Mac build's.
set(CMAKE_SYSTEM_NAME Darwin)
set(CMAKE_SYSTEM_PROCESSOR arm64)
set(CMAKE_OSX_ARCHITECTURES arm64)

if(DEFINED ENV{PLENDA_MACOS_SDK})
  set(CMAKE_OSX_SYSROOT "$ENV{PLENDA_MACOS_SDK}")
else()
  set(CMAKE_OSX_SYSROOT /tmp/macsdk)
endif()

foreach(lang C CXX OBJCXX)
  set(CMAKE_${lang}_COMPILER_TARGET arm64-apple-macos)
endforeach()
set(CMAKE_C_COMPILER /usr/bin/clang-19)
set(CMAKE_CXX_COMPILER /usr/bin/clang++-19)
set(CMAKE_OBJCXX_COMPILER /usr/bin/clang++-19)
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)
# Found by the Darwin platform files though nothing here links or archives.
set(CMAKE_AR /usr/lib/llvm-19/bin/llvm-ar)
set(CMAKE_RANLIB /usr/lib/llvm-19/bin/llvm-ranlib)
set(CMAKE_INSTALL_NAME_TOOL /usr/lib/llvm-19/bin/llvm-install-name-tool)

# The host's headers may not come from /usr/include as a whole: glibc's would
# hide the SDK's C headers. A small tree holds links to exactly the libraries'
# headers (and files, so that their imported targets resolve); only it and the
# SDK are searched for headers and libraries.
set(_host "${CMAKE_BINARY_DIR}/host-root")
set(_multiarch x86_64-linux-gnu)
if(NOT CMAKE_IN_TRY_COMPILE)
  file(MAKE_DIRECTORY "${_host}/usr/include" "${_host}/usr/lib/${_multiarch}/cmake")
  foreach(f unicode simdjson.h sqlite3.h sqlite3ext.h gtest gmock)
    file(CREATE_LINK "/usr/include/${f}" "${_host}/usr/include/${f}" SYMBOLIC)
  endforeach()
  file(GLOB _libs /usr/lib/${_multiarch}/libicu*.so* /usr/lib/${_multiarch}/libsimdjson.so*
                  /usr/lib/${_multiarch}/libsqlite3.so* /usr/lib/${_multiarch}/libg[tm]*.a)
  foreach(f IN LISTS _libs)
    get_filename_component(n "${f}" NAME)
    file(CREATE_LINK "${f}" "${_host}/usr/lib/${n}" SYMBOLIC)
    file(CREATE_LINK "${f}" "${_host}/usr/lib/${_multiarch}/${n}" SYMBOLIC)
  endforeach()
  # These package files place their headers relative to their own real path,
  # so they are copied, not linked.
  foreach(package simdjson GTest)
    if(EXISTS "/usr/lib/${_multiarch}/cmake/${package}")
      file(COPY "/usr/lib/${_multiarch}/cmake/${package}" DESTINATION "${_host}/usr/lib/${_multiarch}/cmake")
    endif()
  endforeach()
endif()

set(CMAKE_FIND_ROOT_PATH "${_host}" "${CMAKE_OSX_SYSROOT}")
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE BOTH)
set(simdjson_DIR "${_host}/usr/lib/${_multiarch}/cmake/simdjson" CACHE PATH "")
set(GTest_DIR "${_host}/usr/lib/${_multiarch}/cmake/GTest" CACHE PATH "")
# moc's outputs are generated without first building what the target links.
set(CMAKE_AUTOGEN_ORIGIN_DEPENDS OFF)
# Qt's headers live in their own folder and its tools (moc, rcc, lrelease) run on the host.
set(Qt6_DIR "/usr/lib/${_multiarch}/cmake/Qt6" CACHE PATH "")
