# A room is a folder with a CMakeLists.txt; libraries are named after their folder.
function(room path)
    if(EXISTS ${CMAKE_SOURCE_DIR}/${path}/CMakeLists.txt)
        add_subdirectory(${CMAKE_SOURCE_DIR}/${path} ${CMAKE_BINARY_DIR}/${path})
    endif()
endfunction()

add_custom_target(headers)

# room_headers(TARGET SCOPE FILE...): makes files of the present folder known to users of TARGET, under the room's name.
# Each target has a tree of links of its own in the build folder, build/PRESET/rooms/TARGET/relay/io/FrameIo.h for
# src/relay/io/FrameIo.h. The trees of a target and of what it links are all that its sources find, so that the build
# itself refuses an include of a room above. The target "headers" compiles each header alone: it stands on its own.
function(room_headers target scope)
    file(RELATIVE_PATH prefix ${CMAKE_SOURCE_DIR} ${CMAKE_CURRENT_SOURCE_DIR})
    string(REGEX REPLACE "^(src|tests)/" "" prefix ${prefix})
    set(tree ${CMAKE_BINARY_DIR}/rooms/${target})
    file(REMOVE_RECURSE ${tree})
    set(alones)
    foreach(file ${ARGN})
        get_filename_component(file ${file} ABSOLUTE)
        file(RELATIVE_PATH name ${CMAKE_CURRENT_SOURCE_DIR} ${file})
        get_filename_component(folder ${tree}/${prefix}/${name} DIRECTORY)
        file(MAKE_DIRECTORY ${folder})
        file(CREATE_LINK ${file} ${tree}/${prefix}/${name} SYMBOLIC)
        if(name MATCHES "\\.h$")
            string(REPLACE "/" "_" alone ${name})
            set(alone ${CMAKE_BINARY_DIR}/headers/${target}/${alone}.cpp)
            file(CONFIGURE OUTPUT ${alone} CONTENT "#include \"${prefix}/${name}\"\n")
            list(APPEND alones ${alone})
        endif()
    endforeach()
    target_include_directories(${target} ${scope} ${tree})
    if(alones)
        add_library(${target}_alone OBJECT EXCLUDE_FROM_ALL ${alones})
        target_link_libraries(${target}_alone PRIVATE ${target} ownWarnings)
        add_dependencies(headers ${target}_alone)
    endif()
endfunction()

# room_library(NAME [LINK lib...] [SOURCES file...] [HEADERS file...]): a static library of all .cpp files of the folder
# with our warnings, and all headers of the folder for it and its users; or of the files named.
function(room_library name)
    cmake_parse_arguments(ARG "" "" "LINK;SOURCES;HEADERS" ${ARGN})
    if(NOT ARG_HEADERS)
        file(GLOB ARG_HEADERS CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.h)
        if(NOT ARG_SOURCES)
            file(GLOB ARG_SOURCES CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp)
        endif()
    endif()
    if(ARG_SOURCES)
        add_library(${name} STATIC ${ARG_SOURCES})
        target_link_libraries(${name} PUBLIC ${ARG_LINK} PRIVATE ownWarnings)
        room_headers(${name} PUBLIC ${ARG_HEADERS})
    else()
        add_library(${name} INTERFACE)
        target_link_libraries(${name} INTERFACE ${ARG_LINK})
        room_headers(${name} INTERFACE ${ARG_HEADERS})
    endif()
endfunction()

# room_program(NAME [LINK lib...] [SOURCES file...]): a program of all .cpp files of the folder (or of the files named), with
# the folder's headers.
function(room_program name)
    cmake_parse_arguments(ARG "" "" "LINK;SOURCES" ${ARGN})
    if(NOT ARG_SOURCES)
        file(GLOB ARG_SOURCES CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp)
    endif()
    file(GLOB headers CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.h ${CMAKE_CURRENT_SOURCE_DIR}/*.def)
    add_library(${name}_headers INTERFACE)
    target_link_libraries(${name}_headers INTERFACE ${ARG_LINK})
    room_headers(${name}_headers INTERFACE ${headers})
    add_executable(${name} ${ARG_SOURCES})
    target_link_libraries(${name} PRIVATE ${name}_headers ownWarnings)
endfunction()

# unit_test(NAME [LINK lib...]): one GoogleTest program of the folder's .cpp files.
function(unit_test name)
    cmake_parse_arguments(ARG "" "" "LINK" ${ARGN})
    room_program(${name} LINK ${ARG_LINK} GTest::gtest_main GTest::gmock)
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
