# add_room(name SOURCES ... [ROOMS ...] [LIBRARIES ...]): one room of the program, the static library room_<name>; the
# rooms below that it includes are named, and so reach whoever links it.
function(add_room name)
    cmake_parse_arguments(arg "" "" "SOURCES;ROOMS;LIBRARIES" ${ARGN})
    list(TRANSFORM arg_ROOMS PREPEND room_)
    add_library(room_${name} STATIC ${arg_SOURCES})
    target_include_directories(room_${name} PUBLIC "${CMAKE_SOURCE_DIR}")
    target_link_libraries(room_${name} PUBLIC ${arg_ROOMS} ${arg_LIBRARIES})
    enable_warnings(room_${name})
    use_precompiled_headers(room_${name})
endfunction()
