mv_test(test_sync scenario SOURCES ${CMAKE_CURRENT_LIST_DIR}/test_sync.cpp
        LIBS mv_fake_net mv_sync mv_sheet mv_transport)
