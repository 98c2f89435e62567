# add_exported_library(name objects map): a shared and a static library made of the same objects.
#   name     target of the shared library lib<name>.so; <name>_static is the static one
#   objects  object library with the code
#   map      version script: the names that the shared library exports
function(add_exported_library name objects map)
  add_library(${name} SHARED)
  add_library(${name}_static STATIC)
  set_target_properties(${name} PROPERTIES
    VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR} LINK_DEPENDS ${map})
  set_target_properties(${name}_static PROPERTIES OUTPUT_NAME ${name})
  target_link_options(${name} PRIVATE LINKER:--version-script=${map})
  if(NOT ACL_SANITIZE)  # sanitizer run-times are resolved when the program is linked
    target_link_options(${name} PRIVATE LINKER:-z,defs)
  endif()
  foreach(library ${name} ${name}_static)
    target_sources(${library} PRIVATE $<TARGET_OBJECTS:${objects}>)
    target_link_libraries(${library} PUBLIC Threads::Threads)
    target_link_libraries(${library} PRIVATE $<BUILD_INTERFACE:project_settings>)
  endforeach()
endfunction()
