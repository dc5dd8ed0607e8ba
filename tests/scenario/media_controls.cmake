mv_test(test_media_controls scenario SOURCES ${CMAKE_CURRENT_LIST_DIR}/test_media_controls.cpp
        LIBS mv_desktop_qt mv_sheet Qt6::Test)
