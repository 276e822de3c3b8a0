# vesto_engine: what runs the language model, and vesto_speech, which turns speech into text with the same libraries for
# sums, where there are any. VESTO_MODEL says where they come from:
#
#   prebuilt  as built by others for every kind of processor, got by tools/get_engines into the build folder
#   source    the same version, built here for this processor (10 minutes or more)
#   system    what find_library finds
#   off       none: Vesto works without, and titles come from the document's own words
#
# Where it cannot be had, VESTO_ENGINE (what there is) becomes off by itself.
set(VESTO_MODEL prebuilt CACHE STRING "Where the language model's engine comes from: prebuilt, source, system, off")
set_property(CACHE VESTO_MODEL PROPERTY STRINGS prebuilt source system off)
if(NOT VESTO_MODEL MATCHES "^(prebuilt|source|system|off)$")
  message(FATAL_ERROR "VESTO_MODEL is none of prebuilt, source, system, off: ${VESTO_MODEL}")
endif()
# One copy for all presets of a source folder.
set(VESTO_ENGINES_FOLDER ${CMAKE_SOURCE_DIR}/build/engines CACHE PATH "Where engines that were fetched are kept")

# Libraries that were built elsewhere, and their headers.
function(vesto_engine_libraries include)
  add_library(vesto_engine INTERFACE)
  target_include_directories(vesto_engine SYSTEM INTERFACE ${include})
  target_link_libraries(vesto_engine INTERFACE ${ARGN})
endfunction()

# Sources that others wrote, so no warnings; nor sanitizers, as for the libraries. Fast in every kind of build.
function(vesto_speech_sources folder)
  add_library(vesto_speech STATIC ${folder}/whisper.cpp)
  target_include_directories(vesto_speech SYSTEM INTERFACE ${folder})
  target_link_libraries(vesto_speech PUBLIC vesto_engine)
  target_compile_options(vesto_speech PRIVATE -w -O3 -fstack-protector-strong)
  if(VESTO_SANITIZE)
    target_compile_options(vesto_speech PRIVATE -fno-sanitize=all)
  endif()
  target_compile_definitions(vesto_speech PRIVATE WHISPER_VERSION="1.9.1")
  set_target_properties(vesto_speech PROPERTIES CXX_STANDARD 17)
endfunction()

function(vesto_get_engines kind result)
  execute_process(COMMAND python3 ${CMAKE_SOURCE_DIR}/tools/get_engines ${VESTO_ENGINES_FOLDER}/${kind} ${kind}
    RESULT_VARIABLE status ERROR_VARIABLE reason ERROR_STRIP_TRAILING_WHITESPACE)
  set(${result} FALSE PARENT_SCOPE)
  if(status EQUAL 0)
    set(${result} TRUE PARENT_SCOPE)
  else()
    message(STATUS "${reason}")
  endif()
endfunction()

set(found off)
set(engine ${VESTO_ENGINES_FOLDER}/${VESTO_MODEL})
if(VESTO_MODEL STREQUAL "prebuilt")
  vesto_get_engines(prebuilt got)
  file(GLOB libraries ${engine}/lib/libllama.* ${engine}/lib/libggml.* ${engine}/lib/libggml-base.*)
  if(got AND libraries)
    vesto_engine_libraries(${engine}/include ${libraries})
    vesto_speech_sources(${engine}/whisper)
    install(DIRECTORY ${engine}/lib/ DESTINATION libexec/vesto/engine)
    install(DIRECTORY ${engine}/licenses/ DESTINATION share/doc/vesto/licenses)
    set(found prebuilt)
  endif()
elseif(VESTO_MODEL STREQUAL "source")
  vesto_get_engines(source got)
  if(got)
    include(ExternalProject)
    set(made ${CMAKE_BINARY_DIR}/engine)
    set(built ${made}/src/engine_sources-build/bin) # where it puts its libraries, whatever it is told
    set(libraries ${built}/libllama.so ${built}/libggml.so ${built}/libggml-base.so ${built}/libggml-cpu.so)
    ExternalProject_Add(engine_sources SOURCE_DIR ${engine}/llama.cpp PREFIX ${made} INSTALL_COMMAND ""
      BUILD_BYPRODUCTS ${libraries}
      CMAKE_ARGS -DCMAKE_BUILD_TYPE=Release -DGGML_OPENMP=OFF
        -DLLAMA_BUILD_COMMON=OFF -DLLAMA_BUILD_TESTS=OFF -DLLAMA_BUILD_TOOLS=OFF -DLLAMA_BUILD_EXAMPLES=OFF
        -DLLAMA_BUILD_SERVER=OFF -DLLAMA_BUILD_APP=OFF)
    vesto_engine_libraries("${engine}/llama.cpp/include;${engine}/llama.cpp/ggml/include" ${libraries})
    add_dependencies(vesto_engine engine_sources)
    vesto_speech_sources(${engine}/whisper)
    install(DIRECTORY ${built}/ DESTINATION libexec/vesto/engine)
    install(DIRECTORY ${engine}/licenses/ DESTINATION share/doc/vesto/licenses)
    set(found source)
  endif()
elseif(VESTO_MODEL STREQUAL "system")
  find_path(LLAMA_INCLUDE_FOLDER llama.h)
  find_path(WHISPER_INCLUDE_FOLDER whisper.h)
  find_library(ENGINE_whisper whisper)
  set(libraries)
  foreach(name llama ggml ggml-base)
    find_library(ENGINE_${name} ${name})
    list(APPEND libraries ${ENGINE_${name}})
  endforeach()
  if(LLAMA_INCLUDE_FOLDER AND WHISPER_INCLUDE_FOLDER AND ENGINE_whisper AND NOT libraries MATCHES NOTFOUND)
    vesto_engine_libraries(${LLAMA_INCLUDE_FOLDER} ${libraries})
    add_library(vesto_speech INTERFACE)
    target_include_directories(vesto_speech SYSTEM INTERFACE ${WHISPER_INCLUDE_FOLDER})
    target_link_libraries(vesto_speech INTERFACE ${ENGINE_whisper} vesto_engine)
    set(found system)
  endif()
endif()

set(VESTO_ENGINE ${found} CACHE INTERNAL "Where the engine that was found comes from")
if(NOT found STREQUAL VESTO_MODEL)
  message(WARNING "The engine of the language model could not be had (VESTO_MODEL=${VESTO_MODEL}): "
    "building without it. Its tests do NOT run.")
else()
  message(STATUS "Engine of the language model: ${found}")
endif()
