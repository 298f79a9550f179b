# Warnings, hardening and sanitizers, for every target of ours alike.
set(umdformat_warnings -Wall -Wextra -Wpedantic -Wshadow -Wconversion)

function(umdformat_compile_options target)
    target_compile_options(${target} PRIVATE ${umdformat_warnings})
    if(UMDFORMAT_WERROR)
        target_compile_options(${target} PRIVATE -Werror)
    endif()
endfunction()

# Programs load at an address of the system's choice; the linker's tables are read-only before main
# begins, and no stack is executable.
include(CheckPIESupported)
check_pie_supported()
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
add_link_options(-Wl,-z,relro -Wl,-z,now -Wl,-z,noexecstack)

set(UMDFORMAT_SANITIZERS address,undefined CACHE STRING "The sanitizers that UMDFORMAT_SANITIZE takes")
if(UMDFORMAT_SANITIZE)
    add_compile_options(-fsanitize=${UMDFORMAT_SANITIZERS} -fno-sanitize-recover=all
                        -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${UMDFORMAT_SANITIZERS})
else()
    # The C library's checks need an optimised build, and the sanitizers have checks of their own.
    add_compile_options("$<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:\
-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=2;-fstack-protector-strong>")
endif()
