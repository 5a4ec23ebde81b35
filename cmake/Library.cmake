# zel_library(NAME SOURCE...)
#
# The library NAME: an archive or, with BUILD_SHARED_LIBS, a shared library that exports what NAME.map lists. The target
# NAME_archive is the archive in either case (made of the same objects), for programs that look into the library, as its
# unit tests do. NAME_TARGETS lists the real targets; the global property ZEL_LIBRARIES those of all libraries.
function(zel_library NAME)
  if(NOT BUILD_SHARED_LIBS)
    add_library(${NAME} STATIC ${ARGN})
    add_library(${NAME}_archive ALIAS ${NAME})
    set(${NAME}_TARGETS ${NAME} PARENT_SCOPE)
    set_property(GLOBAL APPEND PROPERTY ZEL_LIBRARIES ${NAME})
    return()
  endif()

  add_library(${NAME}_archive STATIC ${ARGN})
  set_target_properties(${NAME}_archive PROPERTIES OUTPUT_NAME ${NAME} POSITION_INDEPENDENT_CODE ON)
  target_compile_options(${NAME}_archive PRIVATE -fno-semantic-interposition)

  set(MAP ${CMAKE_CURRENT_SOURCE_DIR}/${NAME}.map)
  add_library(${NAME} SHARED $<TARGET_OBJECTS:${NAME}_archive>)
  set_target_properties(${NAME} PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR}
                                           LINK_DEPENDS ${MAP} LINKER_LANGUAGE CXX)
  target_link_options(${NAME} PRIVATE -Wl,--version-script=${MAP})
  if(NOT ZEL_SANITIZE)
    target_link_options(${NAME} PRIVATE -Wl,--no-undefined)
  endif()
  set(${NAME}_TARGETS ${NAME} ${NAME}_archive PARENT_SCOPE)
  set_property(GLOBAL APPEND PROPERTY ZEL_LIBRARIES ${NAME} ${NAME}_archive)
endfunction()
