add_library(mv_mpv STATIC ${CMAKE_CURRENT_LIST_DIR}/mpv_player.cpp ${CMAKE_CURRENT_LIST_DIR}/mpv_player.h
            ${CMAKE_CURRENT_LIST_DIR}/player_control_area.cpp ${CMAKE_CURRENT_LIST_DIR}/player_control_area.h)
target_link_libraries(mv_mpv PUBLIC mv_core Qt6::Widgets PkgConfig::MPV)
