# Warnings and sanitizers, for every target of ours alike.
set(umdformat_warnings -Wall -Wextra -Wpedantic -Wshadow -Wconversion)

function(umdformat_compile_options target)
    target_compile_options(${target} PRIVATE ${umdformat_warnings})
    if(UMDFORMAT_WERROR)
        target_compile_options(${target} PRIVATE -Werror)
    endif()
endfunction()

set(UMDFORMAT_SANITIZERS address,undefined CACHE STRING "The sanitizers that UMDFORMAT_SANITIZE takes")
if(UMDFORMAT_SANITIZE)
    add_compile_options(-fsanitize=${UMDFORMAT_SANITIZERS} -fno-sanitize-recover=all
                        -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${UMDFORMAT_SANITIZERS})
endif()
