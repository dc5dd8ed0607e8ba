add_library(mv_beeper STATIC ${CMAKE_CURRENT_LIST_DIR}/tone_beeper.cpp
            ${CMAKE_CURRENT_LIST_DIR}/tone_beeper.h)
target_link_libraries(mv_beeper PUBLIC mv_core mv_mpv_library)
