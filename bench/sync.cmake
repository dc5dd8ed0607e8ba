add_executable(sync_fanout ${CMAKE_CURRENT_LIST_DIR}/sync_fanout.cpp)
target_link_libraries(sync_fanout PRIVATE mv_qtsocket mv_transport mv_test_support)

add_executable(sync_skew ${CMAKE_CURRENT_LIST_DIR}/sync_skew.cpp)
target_link_libraries(sync_skew PRIVATE mv_qtsocket mv_transport mv_web mv_test_support)
target_compile_definitions(sync_skew PRIVATE MELLIVANE_SOURCE_DIR="${PROJECT_SOURCE_DIR}")
