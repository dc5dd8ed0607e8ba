# libmpv is opened at run time (mpv_library.h): only its headers are needed here.
add_library(mv_mpv_library STATIC ${CMAKE_CURRENT_LIST_DIR}/mpv_library.cpp
            ${CMAKE_CURRENT_LIST_DIR}/mpv_library.h)
target_link_libraries(mv_mpv_library PUBLIC Qt6::Core ${CMAKE_DL_LIBS})
target_include_directories(mv_mpv_library PUBLIC ${PROJECT_SOURCE_DIR}/src)
target_include_directories(mv_mpv_library SYSTEM PUBLIC
                           $<TARGET_PROPERTY:PkgConfig::MPV,INTERFACE_INCLUDE_DIRECTORIES>)

add_library(mv_mpv STATIC ${CMAKE_CURRENT_LIST_DIR}/mpv_player.cpp ${CMAKE_CURRENT_LIST_DIR}/mpv_player.h
            ${CMAKE_CURRENT_LIST_DIR}/player_control_area.cpp ${CMAKE_CURRENT_LIST_DIR}/player_control_area.h)
target_link_libraries(mv_mpv PUBLIC mv_core Qt6::Widgets mv_mpv_library)
