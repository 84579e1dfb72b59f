# Device images: the kernels of a library as SPIR-V modules inside it. tools/device_images/README.md tells the steps.

find_program(QTX_DEVICE_COMPILER NAMES clang-22 DOC "Compiler of device code")
find_path(QTX_LLVM_INCLUDE_DIR llvm/IR/Module.h PATHS /usr/lib/llvm-22/include NO_DEFAULT_PATH)
find_library(QTX_LLVM_LIBRARY NAMES LLVM-22 PATHS /usr/lib/llvm-22/lib NO_DEFAULT_PATH)
find_package(Python3 COMPONENTS Interpreter)

option(QTX_DEVICE_IMAGES "Build the kernels as SPIR-V into the library, for OpenCL devices" ON)
if(QTX_DEVICE_IMAGES AND QTX_SANITIZE)
  message(STATUS "No device images: a sanitizer sees nothing of device code, so OpenCL devices are served by other builds")
  set(QTX_DEVICE_IMAGES OFF)
elseif(QTX_DEVICE_IMAGES)
  foreach(need QTX_DEVICE_COMPILER QTX_LLVM_INCLUDE_DIR QTX_LLVM_LIBRARY Python3_EXECUTABLE)
    if(NOT ${need})
      message(FATAL_ERROR "The kernels for OpenCL devices cannot be compiled: ${need} is '${${need}}'. Install the Debian \
packages clang-22, llvm-22-dev and python3, or configure with -DQTX_DEVICE_IMAGES=OFF: the library then serves the CPU and \
the software GPU only")
    endif()
  endforeach()
  enable_language(ASM)
else()
  message(STATUS "No device images: QTX_DEVICE_IMAGES is OFF, so OpenCL devices will not be served")
endif()

file(GLOB opencl_drivers /etc/OpenCL/vendors/*.icd)
if(QTX_DEVICE_IMAGES AND NOT opencl_drivers)
  message(STATUS "No OpenCL device: /etc/OpenCL/vendors names no driver, so the tests that need one are skipped")
endif()

# Kernels compute the same on all devices: always optimised, nothing fused. The passes are left to split_images, which
# inlines everything first.
set(QTX_DEVICE_FLAGS -x c++ -std=c++20 -fsycl -fsycl-device-only -O2 -Xclang -disable-llvm-passes
  -fno-math-errno -ffp-contract=off -Wall -Wextra -Wno-unused-command-line-argument)

# The images of one translation unit: ${unit}.spv and ${unit}.txt, remade when a file that it includes changes.
function(qtx_device_unit source unit target)
  get_filename_component(name ${source} NAME)
  set(includes $<TARGET_PROPERTY:${target},INCLUDE_DIRECTORIES>)
  set(definitions $<TARGET_PROPERTY:${target},COMPILE_DEFINITIONS>)
  add_custom_command(
    OUTPUT ${unit}.spv ${unit}.txt
    COMMAND ${QTX_CCACHE} ${QTX_DEVICE_COMPILER} ${QTX_DEVICE_FLAGS}
      "$<$<BOOL:${includes}>:-I$<JOIN:${includes},;-I>>"
      "$<$<BOOL:${definitions}>:-D$<JOIN:${definitions},;-D>>"
      -MD -MF ${unit}.d -MT ${unit}.spv -c -emit-llvm ${source} -o ${unit}.bc
    COMMAND split_images ${unit}.bc ${unit}.spv ${unit}.txt
    DEPENDS ${source} split_images
    DEPFILE ${unit}.d
    COMMAND_EXPAND_LISTS
    COMMENT "Device images of ${name}"
    VERBATIM)
endfunction()

# Makes ${target}, an object library that holds the device images of sources, which are compiled with the include
# folders and definitions of ${like}, and registers them when what it is linked into is loaded.
function(qtx_device_images target like)
  set(units)
  set(outputs)
  foreach(source IN LISTS ARGN)
    get_filename_component(path ${source} ABSOLUTE)
    file(RELATIVE_PATH unit ${CMAKE_SOURCE_DIR} ${path})
    set(unit ${CMAKE_BINARY_DIR}/device_images/${unit})
    get_filename_component(folder ${unit} DIRECTORY)
    file(MAKE_DIRECTORY ${folder})
    qtx_device_unit(${path} ${unit} ${like})
    list(APPEND units ${unit})
    list(APPEND outputs ${unit}.spv ${unit}.txt)
  endforeach()

  set(joined ${CMAKE_BINARY_DIR}/device_images/${target})
  set(tool ${CMAKE_SOURCE_DIR}/tools/device_images)
  add_custom_command(
    OUTPUT ${joined}.S ${joined}.inc
    COMMAND Python3::Interpreter ${tool}/join_images.py ${joined}.S ${joined}.inc ${units}
    DEPENDS ${outputs} ${tool}/join_images.py
    COMMENT "Joining the device images of ${target}"
    VERBATIM)
  add_library(${target} OBJECT ${joined}.S ${tool}/descriptor.cpp)
  set_source_files_properties(${joined}.S PROPERTIES OBJECT_DEPENDS "${outputs}")
  set_source_files_properties(${tool}/descriptor.cpp PROPERTIES OBJECT_DEPENDS ${joined}.inc)
  target_compile_definitions(${target} PRIVATE
    $<$<COMPILE_LANGUAGE:CXX>:DEVICE_IMAGE_LIST="${joined}.inc">)
  target_compile_features(${target} PRIVATE cxx_std_20)
  target_link_libraries(${target} PUBLIC sycl)
endfunction()
