mv_test(test_library_text unit SOURCES ${CMAKE_CURRENT_LIST_DIR}/test_library_text.cpp
        LIBS mv_library)
