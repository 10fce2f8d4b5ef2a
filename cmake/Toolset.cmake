# Language level, warnings and the packages that the whole tree uses.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
# Backtraces name functions, and loaded libraries meet the one manager of the process.
set(CMAKE_ENABLE_EXPORTS ON)

find_program(CCACHE ccache)
if(CCACHE)
    set(CMAKE_C_COMPILER_LAUNCHER ${CCACHE})
    set(CMAKE_CXX_COMPILER_LAUNCHER ${CCACHE})
endif()

# Flags of our own code. Code that rpcgen writes is compiled without them.
add_library(ownWarnings INTERFACE)
target_compile_options(ownWarnings INTERFACE
    -Wall -Wextra -Wpedantic -Werror -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual -Wcast-align
    -Wconversion -Wno-sign-conversion -Wformat=2 -Wimplicit-fallthrough)

add_compile_definitions(BOOST_BIND_GLOBAL_PLACEHOLDERS BOOST_ALLOW_DEPRECATED_HEADERS)

if(DHCPRA_SANITIZE)
    add_compile_options(-fsanitize=${DHCPRA_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
    add_link_options(-fsanitize=${DHCPRA_SANITIZE})
endif()

find_package(Threads REQUIRED)
find_package(Boost 1.74 REQUIRED COMPONENTS thread system date_time)
find_package(LibXml2 REQUIRED)
find_package(PkgConfig REQUIRED)
pkg_check_modules(TIRPC REQUIRED IMPORTED_TARGET libtirpc)
find_program(RPCGEN rpcgen REQUIRED)
if(DHCPRA_TESTS)
    find_package(GTest REQUIRED)
    include(GoogleTest)
endif()
