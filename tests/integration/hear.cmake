mv_test(test_hear integration SOURCES ${CMAKE_CURRENT_LIST_DIR}/test_hear.cpp
        LIBS mv_align mv_mpv mv_media_gen TIMEOUT 60)
