# vesto_opencv: the two modules that run a classifier. Debian's packages of single modules carry no package file
# for CMake or pkg-config.
add_library(vesto_opencv INTERFACE)
find_path(OPENCV_INCLUDE_FOLDER opencv2/dnn.hpp PATH_SUFFIXES opencv4 REQUIRED)
target_include_directories(vesto_opencv SYSTEM INTERFACE ${OPENCV_INCLUDE_FOLDER})
foreach(module dnn imgproc core)
  find_library(OPENCV_${module} opencv_${module} REQUIRED)
  target_link_libraries(vesto_opencv INTERFACE ${OPENCV_${module}})
endforeach()
