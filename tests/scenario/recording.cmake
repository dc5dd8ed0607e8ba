mv_test(test_recording scenario SOURCES ${CMAKE_CURRENT_LIST_DIR}/test_recording.cpp
        LIBS mv_recording mv_sheet)
