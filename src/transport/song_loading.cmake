add_library(mv_song_loading STATIC ${CMAKE_CURRENT_LIST_DIR}/song_loading.cpp
            ${CMAKE_CURRENT_LIST_DIR}/song_loading.h)
target_link_libraries(mv_song_loading PUBLIC mv_transport mv_cursormap mv_core)
