# kyb_add_room(NAME ROOMS room... [LIBRARIES target...] [SOURCES file...])
#
# A room of src/ is two targets. Who links kyb_NAME may include the room: it carries the rooms that this one includes, and
# no code. kyb_NAME_objects is the room's code, which programs bring in (all at once by kyb_core): the screens' module
# includes rooms whose flags, threads and texts it finds in the executable, and must not bring a second set. The rooms share
# the precompiled headers of kyb_base_objects.

function(kyb_add_room NAME)
  cmake_parse_arguments(ARG "" "" "ROOMS;LIBRARIES;SOURCES" ${ARGN})
  list(TRANSFORM ARG_ROOMS PREPEND kyb_)
  add_library(kyb_${NAME} INTERFACE)
  target_include_directories(kyb_${NAME} INTERFACE "${PROJECT_SOURCE_DIR}/src")
  target_link_libraries(kyb_${NAME} INTERFACE ${ARG_ROOMS} Qt6::Core)
  if(ARG_SOURCES)
    add_library(kyb_${NAME}_objects OBJECT ${ARG_SOURCES})
    target_link_libraries(kyb_${NAME}_objects PUBLIC kyb_${NAME} PRIVATE ${ARG_LIBRARIES} kyb_options)
    if(NOT NAME STREQUAL base)
      target_precompile_headers(kyb_${NAME}_objects REUSE_FROM kyb_base_objects)
    endif()
  endif()
endfunction()
