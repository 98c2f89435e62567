# One interface target carries the settings of all code of this project: strict warnings, and the
# sanitizers when asked for.
add_library(project_settings INTERFACE)
target_compile_options(project_settings INTERFACE
  -Wall -Wextra -Wconversion -Wshadow -Werror
  # Part of -Wall in gcc 12, where it takes std::string's own operator+ for an overlapping copy.
  $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>
  -ffile-prefix-map=${PROJECT_SOURCE_DIR}/=)
# Containers, spans and optionals check how they are used.
target_compile_definitions(project_settings INTERFACE $<$<CONFIG:Debug>:_GLIBCXX_ASSERTIONS>)
if(ACL_SANITIZE)
  target_compile_options(project_settings INTERFACE
    -fsanitize=${ACL_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(project_settings INTERFACE -fsanitize=${ACL_SANITIZE})
endif()

# The two client libraries use neither exceptions nor run-time type information.
add_library(client_library_settings INTERFACE)
target_link_libraries(client_library_settings INTERFACE project_settings)
target_compile_options(client_library_settings INTERFACE
  $<$<COMPILE_LANGUAGE:CXX>:-fno-exceptions -fno-rtti>)

# Header-only use of fmt and CLI11 where no library of the target's architecture is installed: only
# their own folders of the build machine's headers are shown to the cross compiler.
add_library(tool_libraries INTERFACE)
if(CMAKE_CROSSCOMPILING)
  set(header_only_directory ${PROJECT_BINARY_DIR}/header_only)
  file(MAKE_DIRECTORY ${header_only_directory})
  foreach(library fmt CLI)
    file(CREATE_LINK /usr/include/${library} ${header_only_directory}/${library} SYMBOLIC)
  endforeach()
  target_include_directories(tool_libraries SYSTEM INTERFACE ${header_only_directory})
  target_compile_definitions(tool_libraries INTERFACE FMT_HEADER_ONLY)
else()
  find_package(fmt REQUIRED)
  find_package(CLI11 REQUIRED)
  target_link_libraries(tool_libraries INTERFACE fmt::fmt CLI11::CLI11)
endif()
