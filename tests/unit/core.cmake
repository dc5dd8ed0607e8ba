mv_test(test_values unit SOURCES ${CMAKE_CURRENT_LIST_DIR}/test_values.cpp LIBS mv_core)
mv_test(test_core_runtime unit SOURCES ${CMAKE_CURRENT_LIST_DIR}/test_core_runtime.cpp LIBS mv_core)
mv_test(test_text_codec unit SOURCES ${CMAKE_CURRENT_LIST_DIR}/test_text_codec.cpp LIBS mv_core)
mv_test(test_help_keys unit SOURCES ${CMAKE_CURRENT_LIST_DIR}/test_help_keys.cpp
        LIBS mv_help mv_sheet)
