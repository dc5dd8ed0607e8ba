mv_test(test_notation scenario SOURCES ${CMAKE_CURRENT_LIST_DIR}/test_notation.cpp
        LIBS mv_fake_notation mv_notation mv_help mv_song_loading mv_app Qt6::Test)
