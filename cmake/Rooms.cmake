# A room is a folder with a CMakeLists.txt; libraries are named after their folder.
function(room path)
    if(EXISTS ${CMAKE_SOURCE_DIR}/${path}/CMakeLists.txt)
        add_subdirectory(${CMAKE_SOURCE_DIR}/${path} ${CMAKE_BINARY_DIR}/${path})
    endif()
endfunction()

# room_library(NAME [LINK lib...] [SOURCES file...]): a static library of all .cpp files of the folder
# (or of the files named), with our warnings; headers are included from the top of src/ or of the tree.
function(room_library name)
    cmake_parse_arguments(ARG "" "" "LINK;SOURCES" ${ARGN})
    if(NOT ARG_SOURCES)
        file(GLOB ARG_SOURCES CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp)
    endif()
    if(ARG_SOURCES)
        add_library(${name} STATIC ${ARG_SOURCES})
        target_include_directories(${name} PUBLIC ${CMAKE_SOURCE_DIR}/src ${CMAKE_SOURCE_DIR})
        target_link_libraries(${name} PUBLIC ${ARG_LINK} PRIVATE ownWarnings)
    else()
        add_library(${name} INTERFACE)
        target_include_directories(${name} INTERFACE ${CMAKE_SOURCE_DIR}/src ${CMAKE_SOURCE_DIR})
        target_link_libraries(${name} INTERFACE ${ARG_LINK})
    endif()
endfunction()

# unit_test(NAME [LINK lib...] [SOURCES file...]): one GoogleTest program of the folder's .cpp files.
function(unit_test name)
    cmake_parse_arguments(ARG "" "" "LINK;SOURCES" ${ARGN})
    if(NOT ARG_SOURCES)
        file(GLOB ARG_SOURCES CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp)
    endif()
    add_executable(${name} ${ARG_SOURCES})
    target_include_directories(${name} PRIVATE ${CMAKE_SOURCE_DIR}/tests)
    target_link_libraries(${name} PRIVATE ${ARG_LINK} GTest::gtest_main GTest::gmock ownWarnings)
    add_test(NAME ${name} COMMAND ${name})
    set_tests_properties(${name} PROPERTIES LABELS unit TIMEOUT 120)
endfunction()

# rpc_interface(NAME FILE.x [flag...] [READS file...]): filters, client stubs and header of an interface definition,
# made by rpcgen at build time into a library NAME; include the header as "FILE.h". Client stubs answer a static result,
# as peers know them; with the flag -M they have another signature and may be called from any thread. READS names the
# files that the definition includes, from the top of src/ or of the tree.
function(rpc_interface name xfile)
    cmake_parse_arguments(ARG "" "" "READS" ${ARGN})
    list(TRANSFORM ARG_READS PREPEND ${CMAKE_SOURCE_DIR}/)
    get_filename_component(base ${xfile} NAME_WE)
    set(source ${CMAKE_CURRENT_SOURCE_DIR}/${xfile})
    set(out ${CMAKE_CURRENT_BINARY_DIR}/rpcgen)
    file(MAKE_DIRECTORY ${out})
    # Copied once for all three: a copy under way is a file that is not there for the neighbour.
    set(copy ${out}/${base}.x)
    add_custom_command(OUTPUT ${copy}
        COMMAND ${CMAKE_COMMAND} -E copy ${source} ${copy} DEPENDS ${source} VERBATIM)
    foreach(kind h c l)
        set(flag -${kind})
        if(kind STREQUAL h)
            set(target ${out}/${base}.h)
        elseif(kind STREQUAL c)
            set(target ${out}/${base}_xdr.c)
        else()
            set(target ${out}/${base}_clnt.c)
        endif()
        add_custom_command(OUTPUT ${target}
            COMMAND ${CMAKE_COMMAND} -E rm -f ${target}
            COMMAND ${CMAKE_COMMAND} -E env CPATH=${CMAKE_SOURCE_DIR}/src:${CMAKE_SOURCE_DIR}
                ${RPCGEN} -N ${ARG_UNPARSED_ARGUMENTS} ${flag} -o ${target} ${base}.x
            WORKING_DIRECTORY ${out} DEPENDS ${copy} ${ARG_READS} VERBATIM)
        list(APPEND made ${target})
    endforeach()
    add_library(${name} STATIC ${made})
    target_include_directories(${name} SYSTEM PUBLIC ${out})
    target_compile_options(${name} PRIVATE -w)
    target_link_libraries(${name} PUBLIC PkgConfig::TIRPC)
endfunction()
