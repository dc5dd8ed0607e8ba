add_executable(web_followers ${CMAKE_CURRENT_LIST_DIR}/web_followers.cpp)
target_link_libraries(web_followers PRIVATE mv_web mv_test_support)
