# vesto_room(NAME SOURCES… ) adds the static library of one room; every include is written from the root.
function(vesto_room name)
  add_library(${name} STATIC ${ARGN})
  target_include_directories(${name} PUBLIC ${CMAKE_SOURCE_DIR})
  add_dependencies(${name} check_rooms)
endfunction()

# A wrong include between rooms, or a cycle of headers, fails the build and not only the lint.
add_custom_target(check_rooms
  COMMAND ${CMAKE_COMMAND} -E env python3 ${CMAKE_SOURCE_DIR}/tools/check_rooms.py ${CMAKE_SOURCE_DIR}
  COMMENT "Checking includes between rooms")
