# How the macOS build compiles, in one place. The Mac build (preset macos,
# CI's macos workflow) and the Darwin type-check of scripts/test.sh (preset
# macos-typecheck) both configure the same project, so both take every flag
# from here and from the targets; the type-check replays compile_commands.json
# and keeps no list or flag of its own. The deployment target is set in the
# top CMakeLists.txt because it must precede project().
enable_language(OBJCXX)

# Every .mm is written for ARC: Objective-C objects are owned by ARC, Core
# Foundation ones by CFRef.
add_compile_options($<$<COMPILE_LANGUAGE:OBJCXX>:-fobjc-arc>)

# An API newer than the deployment target must be guarded by @available or
# __builtin_available, and so must C++ library features Apple ships later.
add_compile_options(-Werror=unguarded-availability-new)

if(CCACHE_PROGRAM)
  set(CMAKE_OBJCXX_COMPILER_LAUNCHER ${CCACHE_PROGRAM})
endif()
