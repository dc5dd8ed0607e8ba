mv_test(test_settings_files unit SOURCES ${CMAKE_CURRENT_LIST_DIR}/test_settings_files.cpp
        LIBS mv_startup)
