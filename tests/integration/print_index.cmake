mv_test(test_print_index integration SOURCES ${CMAKE_CURRENT_LIST_DIR}/test_print_index.cpp
        LIBS mv_library)
