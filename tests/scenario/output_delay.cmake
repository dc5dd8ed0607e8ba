mv_test(test_output_delay scenario SOURCES ${CMAKE_CURRENT_LIST_DIR}/test_output_delay.cpp
        LIBS mv_transport)
