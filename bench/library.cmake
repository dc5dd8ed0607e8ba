add_executable(print_index ${CMAKE_CURRENT_LIST_DIR}/print_index.cpp)
target_link_libraries(print_index PRIVATE mv_library)
