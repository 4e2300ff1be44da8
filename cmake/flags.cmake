# What every target of the project is compiled and linked with.
add_compile_definitions(UNICODE _UNICODE _WIN32_WINNT=0x0501 WINVER=0x0501 WIN32_LEAN_AND_MEAN NOMINMAX)
add_link_options(
    -static
    -Wl,--major-subsystem-version=5,--minor-subsystem-version=1
    # Equal inputs give an equal product.
    -Wl,--no-insert-timestamp
)

if(PRODRM_SANITIZE)
    # Alignment is left out: without SSE the compiler keeps the stack at four bytes, as hosts do, and lays locals that
    # ask for eight there.
    add_compile_options(-fsanitize=undefined -fsanitize-undefined-trap-on-error -fno-sanitize=alignment)
endif()

# Targets of the project's own code link this; code of others is included as system headers.
add_library(prodrm_warnings INTERFACE)
target_compile_options(prodrm_warnings INTERFACE
    $<$<COMPILE_LANGUAGE:C,CXX>:-Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror>)
