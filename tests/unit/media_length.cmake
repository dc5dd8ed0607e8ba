mv_test(test_media_length unit SOURCES ${CMAKE_CURRENT_LIST_DIR}/test_media_length.cpp
        LIBS mv_desktop)
