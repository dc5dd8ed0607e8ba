mv_test(test_navigation scenario SOURCES ${CMAKE_CURRENT_LIST_DIR}/test_navigation.cpp
        LIBS mv_sheet Qt6::Test)
