mv_test(test_setup_screen scenario SOURCES ${CMAKE_CURRENT_LIST_DIR}/test_setup_screen.cpp
        LIBS mv_sheet mv_app Qt6::Test)
