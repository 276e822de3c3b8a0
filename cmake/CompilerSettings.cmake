# What every target of the house is compiled with.
set(CMAKE_CXX_STANDARD 23)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

if(NOT CMAKE_CXX_COMPILER_LAUNCHER)
  find_program(ccache_program ccache)
  if(ccache_program)
    set(CMAKE_CXX_COMPILER_LAUNCHER ${ccache_program})
  endif()
endif()

add_compile_options(
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wold-style-cast
  -Wnon-virtual-dtor -Woverloaded-virtual -Werror
  # A score is the same on every machine: no fused multiply-add.
  -ffp-contract=off)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  # g++ 12 warns about its own std::string and std::variant when it inlines deeply.
  add_compile_options(-Wno-restrict -Wno-maybe-uninitialized)
else()
  # The stable algorithms of libstdc++ 12 use its own deprecated buffer; our own uses are g++'s to find.
  add_compile_options(-Wno-deprecated-declarations)
endif()
add_compile_definitions(_FILE_OFFSET_BITS=64)
# A program depends on what it uses, not on all that the package files of its libraries name.
add_link_options(-Wl,--as-needed)
if(VESTO_SANITIZE)
  add_compile_definitions(VESTO_SANITIZED)
  add_compile_options(-fsanitize=${VESTO_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${VESTO_SANITIZE})
else()
  add_compile_options(-fstack-protector-strong)
  add_compile_definitions($<$<CONFIG:Release,RelWithDebInfo>:_FORTIFY_SOURCE=2>)
  add_link_options(-Wl,-z,relro,-z,now)
endif()
