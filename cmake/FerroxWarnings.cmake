# Warnings are set per target, never globally, so third-party code is not held to them.
function(ferrox_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wconversion -Wshadow)
  # GCC 12 at -O3 reports overlapping copies inside std::string's own
  # operator+ (GCC bug 105329); the warning says nothing about our code there.
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
    target_compile_options(${target} PRIVATE -Wno-restrict)
  endif()
  if(FERROX_WERROR)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
endfunction()

# One library per folder of the engine: ferrox_layer(NAME) builds NAME/*.cpp
# into ferrox_NAME. The folder's CMakeLists.txt then states, with
# target_link_libraries, which lower layers it may use; tests/check_layers.py
# holds every include to those arrows.
function(ferrox_layer name)
  file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp)
  add_library(ferrox_${name} STATIC ${sources})
  target_include_directories(ferrox_${name} PUBLIC ${PROJECT_SOURCE_DIR})
  ferrox_warnings(ferrox_${name})
endfunction()
