# The header-only libraries come from the build machine. Its header folder as a whole must stay off the cross
# compiler's path, so each library is reached through a folder that holds a link to nothing else.
function(prodrm_header_library name header)
    find_path(PRODRM_HEADERS_${name} NAMES "${header}" PATHS /usr/include /usr/local/include
              NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH REQUIRED)
    mark_as_advanced(PRODRM_HEADERS_${name})
    cmake_path(GET header PARENT_PATH folder)
    set(place "${PROJECT_BINARY_DIR}/headers/${name}")
    file(MAKE_DIRECTORY "${place}")
    file(CREATE_LINK "${PRODRM_HEADERS_${name}}/${folder}" "${place}/${folder}" SYMBOLIC)
    add_library(prodrm_headers_${name} INTERFACE)
    target_include_directories(prodrm_headers_${name} SYSTEM INTERFACE "${place}")
endfunction()

prodrm_header_library(cli11 CLI/CLI.hpp)
prodrm_header_library(json nlohmann/json.hpp)
prodrm_header_library(doctest doctest/doctest.h)
# Test programs are built with the win32 thread model, which lacks std::mutex.
target_compile_definitions(prodrm_headers_doctest INTERFACE DOCTEST_CONFIG_NO_MULTITHREADING)
