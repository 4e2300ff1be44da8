# Every folder below tests/ is one test program, run in a fresh prefix of each kind:
#   *.cpp                      the program test_<folder>; tests/boundary and tests/host link nothing of the product
#   *.test.sh                  shell tests, run in both kinds as well
#   programs/NAME.cpp          helper program NAME.exe beside the test program
#   programs/NAME.dll.cpp      helper library NAME.dll, with NAME.def if there is one
# What all of them share lies in support/, the recording stand-in for log.dll in support/programs/.

set(prodrm_kinds win32 win64)
set(prodrm_runner "${PROJECT_SOURCE_DIR}/scripts/run_test.sh")

function(prodrm_test_support)
    add_library(test_main OBJECT support/main.cpp)
    target_link_libraries(test_main PUBLIC prodrm_headers_doctest PRIVATE prodrm_warnings)

    add_library(test_support INTERFACE)
    target_include_directories(test_support INTERFACE "${CMAKE_CURRENT_SOURCE_DIR}")
    target_link_libraries(test_support INTERFACE prodrm_headers_doctest prodrm_headers_json)

    prodrm_test_helpers(support)  # the recording log.dll

    file(GLOB support_sources CONFIGURE_DEPENDS support/*.cpp)
    list(REMOVE_ITEM support_sources "${CMAKE_CURRENT_SOURCE_DIR}/support/main.cpp")
    if(support_sources)
        # A library, so that a program which links nothing of the product takes only what it uses.
        add_library(test_support_code STATIC ${support_sources})
        target_link_libraries(test_support_code PUBLIC prodrm_settings prodrm_headers_doctest PRIVATE prodrm_warnings)
        target_include_directories(test_support_code PUBLIC "${CMAKE_CURRENT_SOURCE_DIR}")
        target_link_libraries(test_support INTERFACE test_support_code)
    endif()
endfunction()

# Starts a prefix of each kind before its first test and removes it after the last.
function(prodrm_test_prefixes)
    foreach(kind IN LISTS prodrm_kinds)
        add_test(NAME prefix.${kind}.start COMMAND "${prodrm_runner}" start ${kind})
        add_test(NAME prefix.${kind}.stop COMMAND "${prodrm_runner}" stop ${kind})
        set_tests_properties(prefix.${kind}.start PROPERTIES FIXTURES_SETUP prefix.${kind} TIMEOUT 600)
        set_tests_properties(prefix.${kind}.stop PROPERTIES FIXTURES_CLEANUP prefix.${kind} TIMEOUT 120)
    endforeach()
endfunction()

# Registers a command for each kind of prefix, put in place of the argument KIND. Tests of one prefix run one after the other.
function(prodrm_add_test name folder)
    foreach(kind IN LISTS prodrm_kinds)
        list(TRANSFORM ARGN REPLACE "^KIND$" "${kind}" OUTPUT_VARIABLE command)
        add_test(NAME ${name}.${kind} COMMAND ${command} WORKING_DIRECTORY "${CMAKE_CURRENT_BINARY_DIR}/${folder}")
        set_tests_properties(${name}.${kind} PROPERTIES
            FIXTURES_REQUIRED prefix.${kind}
            RESOURCE_LOCK prefix.${kind}
            ENVIRONMENT "PRODRM_DIST_DIR=${PRODRM_DIST_DIR}"
            LABELS "${kind}"
            TIMEOUT 600)
    endforeach()
endfunction()

function(prodrm_test_helpers folder)
    file(GLOB helpers CONFIGURE_DEPENDS "${folder}/programs/*.cpp")
    foreach(source IN LISTS helpers)
        cmake_path(GET source FILENAME name)
        if(name MATCHES "^(.+)\\.dll\\.cpp$")
            set(name ${CMAKE_MATCH_1})
            file(GLOB exports CONFIGURE_DEPENDS "${folder}/programs/${name}.def")
            set(helper test_${folder}_${name}_dll)
            add_library(${helper} MODULE "${source}" ${exports})
        else()
            cmake_path(GET name STEM LAST_ONLY name)
            set(helper test_${folder}_${name})
            add_executable(${helper} "${source}")
            set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${source}")
            file(STRINGS "${source}" wide_entry REGEX "wmain|wWinMain")
            if(wide_entry)
                target_link_options(${helper} PRIVATE -municode)
            endif()
        endif()
        set_target_properties(${helper} PROPERTIES
            PREFIX ""
            OUTPUT_NAME ${name}
            RUNTIME_OUTPUT_DIRECTORY "${CMAKE_CURRENT_BINARY_DIR}/${folder}"
            LIBRARY_OUTPUT_DIRECTORY "${CMAKE_CURRENT_BINARY_DIR}/${folder}")
        target_include_directories(${helper} PRIVATE "${CMAKE_CURRENT_SOURCE_DIR}")
        target_link_libraries(${helper} PRIVATE prodrm_settings prodrm_warnings)
    endforeach()
endfunction()

function(prodrm_test_folder folder)
    file(MAKE_DIRECTORY "${CMAKE_CURRENT_BINARY_DIR}/${folder}")
    prodrm_test_helpers(${folder})

    file(GLOB sources CONFIGURE_DEPENDS "${folder}/*.cpp")
    if(sources)
        set(program test_${folder})
        add_executable(${program} ${sources})
        set_target_properties(${program} PROPERTIES
            RUNTIME_OUTPUT_DIRECTORY "${CMAKE_CURRENT_BINARY_DIR}/${folder}")
        target_link_libraries(${program} PRIVATE test_main test_support prodrm_settings prodrm_warnings)
        if(NOT folder MATCHES "^(boundary|host)$")
            foreach(part prodrm_lint prodrm_preview prodrm_api prodrm_core)
                if(TARGET ${part})
                    target_link_libraries(${program} PRIVATE ${part})
                endif()
            endforeach()
        endif()
        if(folder STREQUAL boundary)
            prodrm_test_unwinder(${program})
        endif()
        if(folder STREQUAL author)
            target_link_libraries(${program} PRIVATE prodrm_authoring)
        endif()
        prodrm_add_test(${folder} ${folder} "${prodrm_runner}" program KIND "$<TARGET_FILE:${program}>")
    endif()

    file(GLOB scripts CONFIGURE_DEPENDS "${folder}/*.test.sh")
    foreach(script IN LISTS scripts)
        cmake_path(GET script FILENAME name)
        string(REPLACE ".test.sh" "" name "${name}")
        prodrm_add_test(${folder}.${name} ${folder} "${prodrm_runner}" shell KIND "${script}")
    endforeach()
endfunction()

# The compiler's shared unwinder beside a test program, as hosts have it.
function(prodrm_test_unwinder program)
    execute_process(COMMAND "${CMAKE_CXX_COMPILER}" -print-file-name=libgcc_s_dw2-1.dll
                    OUTPUT_VARIABLE unwinder OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
    add_custom_command(TARGET ${program} POST_BUILD
        COMMAND "${CMAKE_COMMAND}" -E copy_if_different "${unwinder}" "$<TARGET_FILE_DIR:${program}>" VERBATIM)
endfunction()

# The sample hosts of the documentation, which tests/boundary runs: beside its program.
function(prodrm_test_samples)
    file(GLOB samples CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/docs/samples/*.c"
         "${PROJECT_SOURCE_DIR}/docs/samples/*.cpp")
    foreach(source IN LISTS samples)
        cmake_path(GET source STEM name)
        add_executable(sample_${name} "${source}")
        set_target_properties(sample_${name} PROPERTIES
            OUTPUT_NAME ${name}
            RUNTIME_OUTPUT_DIRECTORY "${CMAKE_CURRENT_BINARY_DIR}/boundary")
        target_link_libraries(sample_${name} PRIVATE prodrm oleaut32 prodrm_warnings)
        add_dependencies(test_boundary sample_${name})
    endforeach()
endfunction()

# Checks of the sources themselves.
function(prodrm_lint)
    foreach(check format cppcheck includes shell schema)
        add_test(NAME lint.${check}
                 COMMAND "${PROJECT_SOURCE_DIR}/scripts/lint.sh" ${check} "${PROJECT_BINARY_DIR}")
        set_tests_properties(lint.${check} PROPERTIES LABELS lint TIMEOUT 600)
    endforeach()
endfunction()
