# A font folder and a fontconfig file of the project's own, so that the demo, the tests and the
# benchmarks draw with the same fonts wherever they run. Sets umdformat_fonts_conf.
set(font_folder ${CMAKE_BINARY_DIR}/fonts)
set(font_cache ${CMAKE_BINARY_DIR}/fonts/cache)
set(umdformat_fonts_conf ${CMAKE_BINARY_DIR}/fonts/fonts.conf)

set(UMDFORMAT_FONT_ROOT /usr/share/fonts/truetype CACHE PATH "Where the test fonts are installed")
foreach(font wqy/wqy-microhei.ttc wqy/wqy-zenhei.ttc arphic/uming.ttc dejavu/DejaVuSans.ttf
             dejavu/DejaVuSerif.ttf)
    if(NOT EXISTS ${UMDFORMAT_FONT_ROOT}/${font})
        message(FATAL_ERROR "Font ${UMDFORMAT_FONT_ROOT}/${font} is missing: scripts/setup installs it")
    endif()
    file(COPY ${UMDFORMAT_FONT_ROOT}/${font} DESTINATION ${font_folder})
endforeach()
configure_file(${CMAKE_CURRENT_LIST_DIR}/fonts.conf.in ${umdformat_fonts_conf} @ONLY)
