add_library(mv_media_gen STATIC ${CMAKE_CURRENT_LIST_DIR}/media_gen.cpp ${CMAKE_CURRENT_LIST_DIR}/media_gen.h)
target_include_directories(mv_media_gen PUBLIC ${CMAKE_CURRENT_LIST_DIR})
target_link_libraries(mv_media_gen PUBLIC Qt6::Core)
mv_test(test_mpv_player integration SOURCES ${CMAKE_CURRENT_LIST_DIR}/test_mpv_player.cpp
        LIBS mv_mpv mv_media_gen TIMEOUT 120)
mv_test(test_audio_routing integration SOURCES ${CMAKE_CURRENT_LIST_DIR}/test_audio_routing.cpp
        LIBS mv_mpv mv_media_gen TIMEOUT 60)
