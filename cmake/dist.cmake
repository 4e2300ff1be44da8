# The finished product: stripped files in PRODRM_DIST_DIR, symbols of the library in the build tree.

set(prodrm_strip i686-w64-mingw32-strip)
set(prodrm_objcopy i686-w64-mingw32-objcopy)

# Puts a copy of a file into the product. Further arguments are what has to be built first.
function(prodrm_dist_copy source place)
    add_custom_command(
        OUTPUT "${PRODRM_DIST_DIR}/${place}"
        COMMAND "${CMAKE_COMMAND}" -E copy "${source}" "${PRODRM_DIST_DIR}/${place}"
        DEPENDS "${source}" ${ARGN}
        VERBATIM)
    set_property(GLOBAL APPEND PROPERTY prodrm_dist_files "${PRODRM_DIST_DIR}/${place}")
endfunction()

# Puts a target's file, stripped, into the product.
function(prodrm_dist_strip target place)
    add_custom_command(
        OUTPUT "${PRODRM_DIST_DIR}/${place}"
        COMMAND "${CMAKE_COMMAND}" -E make_directory "${PRODRM_DIST_DIR}"
        COMMAND ${prodrm_strip} -o "${PRODRM_DIST_DIR}/${place}" "$<TARGET_FILE:${target}>"
        DEPENDS ${target}
        VERBATIM)
    set_property(GLOBAL APPEND PROPERTY prodrm_dist_files "${PRODRM_DIST_DIR}/${place}")
endfunction()

# The library is stripped before the document is embedded: an update of the resources would break its symbol table.
function(prodrm_dist_library)
    set(built "$<TARGET_FILE:prodrm>")
    set(staged "${PROJECT_BINARY_DIR}/stage/prodrm.dll")
    set(symbols "${PROJECT_BINARY_DIR}/prodrm.dll.debug")
    set(document "${PROJECT_SOURCE_DIR}/documents/embedded.xml")
    set(packer "${PRODRM_DIST_DIR}/prodrm-pack.exe")
    add_custom_command(
        OUTPUT "${PRODRM_DIST_DIR}/prodrm.dll"
        BYPRODUCTS "${staged}" "${symbols}"
        COMMAND "${CMAKE_COMMAND}" -E make_directory "${PROJECT_BINARY_DIR}/stage" "${PRODRM_DIST_DIR}"
        COMMAND ${prodrm_objcopy} --only-keep-debug "${built}" "${symbols}"
        COMMAND ${prodrm_strip} -o "${staged}" "${built}"
        COMMAND ${prodrm_objcopy} "--add-gnu-debuglink=${symbols}" "${staged}"
        COMMAND "${PROJECT_SOURCE_DIR}/scripts/prefix.sh" once win32 "${packer}" "${document}" "${staged}"
        COMMAND "${CMAKE_COMMAND}" -E copy "${staged}" "${PRODRM_DIST_DIR}/prodrm.dll"
        DEPENDS prodrm "${packer}" "${document}"
        COMMENT "Embedding the default document into prodrm.dll"
        VERBATIM)
    set_property(GLOBAL APPEND PROPERTY prodrm_dist_files "${PRODRM_DIST_DIR}/prodrm.dll")
endfunction()

function(prodrm_add_dist)
    prodrm_dist_strip(prodrm_pack prodrm-pack.exe)
    prodrm_dist_library()
    prodrm_dist_copy("$<TARGET_LINKER_FILE:prodrm>" libprodrm.dll.a prodrm)
    prodrm_dist_copy("${PROJECT_SOURCE_DIR}/include/prodrm.h" prodrm.h)
    prodrm_dist_copy("${PROJECT_SOURCE_DIR}/src/api/prodrm.def" prodrm.def)
    prodrm_dist_strip(prodrm_log log.dll)
    prodrm_dist_copy("${PROJECT_SOURCE_DIR}/include/log.h" log.h)
    prodrm_dist_strip(prodrm_host prodrm.exe)
    prodrm_dist_strip(prodrm_author prodrm-author.exe)

    set(documents "${PROJECT_SOURCE_DIR}/documents")
    file(GLOB_RECURSE scripts CONFIGURE_DEPENDS RELATIVE "${documents}" "${documents}/intern/*" "${documents}/extern/*")
    foreach(name IN ITEMS products.xml detection.xml LISTS scripts)
        prodrm_dist_copy("${documents}/${name}" "${name}")
    endforeach()

    get_property(files GLOBAL PROPERTY prodrm_dist_files)
    add_custom_target(dist ALL DEPENDS ${files})
endfunction()
