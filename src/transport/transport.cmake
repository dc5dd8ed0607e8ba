add_library(mv_transport STATIC
  ${CMAKE_CURRENT_LIST_DIR}/play_start.cpp ${CMAKE_CURRENT_LIST_DIR}/play_start.h
  ${CMAKE_CURRENT_LIST_DIR}/stop_pause.cpp ${CMAKE_CURRENT_LIST_DIR}/stop_pause.h
  ${CMAKE_CURRENT_LIST_DIR}/volume_speed.cpp ${CMAKE_CURRENT_LIST_DIR}/volume_speed.h
  ${CMAKE_CURRENT_LIST_DIR}/delay_measure.cpp ${CMAKE_CURRENT_LIST_DIR}/delay_measure.h
  ${CMAKE_CURRENT_LIST_DIR}/delay_measure_window.cpp ${CMAKE_CURRENT_LIST_DIR}/delay_measure_window.h)
target_link_libraries(mv_transport PUBLIC mv_cursormap mv_core)
