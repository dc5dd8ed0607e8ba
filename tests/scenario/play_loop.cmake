mv_test(test_play_loop scenario SOURCES ${CMAKE_CURRENT_LIST_DIR}/test_play_loop.cpp
        LIBS mv_cursormap)
