# What every target of the tree shares: language levels, warnings, visibility, sanitizers, ccache.

set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_C_VISIBILITY_PRESET hidden)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)

# The build is laid out as the prefix: what is installed finds its libraries by one path in both places. CMake would pad
# a path that it has to replace with colons, and an empty element of a path is the working directory.
foreach(folder BINDIR LIBDIR)
  if(IS_ABSOLUTE "${CMAKE_INSTALL_${folder}}")
    message(FATAL_ERROR "CMAKE_INSTALL_${folder} is '${CMAKE_INSTALL_${folder}}'; it takes a folder below the prefix")
  endif()
endforeach()
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/${CMAKE_INSTALL_BINDIR})
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/${CMAKE_INSTALL_LIBDIR})
set(CMAKE_ARCHIVE_OUTPUT_DIRECTORY ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})

find_package(Threads REQUIRED)

find_program(QTX_CCACHE ccache)
if(QTX_CCACHE)
  set(CMAKE_C_COMPILER_LAUNCHER ${QTX_CCACHE})
  set(CMAKE_CXX_COMPILER_LAUNCHER ${QTX_CCACHE})
endif()

# One unique symbol would keep a library mapped for ever after dlclose.
add_compile_options($<$<COMPILE_LANGUAGE:CXX>:-fno-gnu-unique>)
add_compile_definitions($<$<CONFIG:Debug>:_GLIBCXX_ASSERTIONS>)
add_link_options(-Wl,-z,defs -Wl,--as-needed)

set(QTX_SANITIZE "" CACHE STRING "Sanitizers of this build: address, thread or nothing")
set_property(CACHE QTX_SANITIZE PROPERTY STRINGS "" address thread)
if(QTX_SANITIZE STREQUAL "address")
  set(qtx_sanitizers address,undefined)
elseif(QTX_SANITIZE STREQUAL "thread")
  set(qtx_sanitizers thread)
elseif(NOT QTX_SANITIZE STREQUAL "")
  message(FATAL_ERROR "QTX_SANITIZE is '${QTX_SANITIZE}'; it takes address, thread or nothing")
endif()
if(qtx_sanitizers)
  add_compile_options(-fsanitize=${qtx_sanitizers} -fno-omit-frame-pointer -fno-sanitize-recover=undefined)
  add_link_options(-fsanitize=${qtx_sanitizers})
  # Sanitized objects leave symbols to the run-time library of the executable.
  set_property(DIRECTORY PROPERTY LINK_OPTIONS -fsanitize=${qtx_sanitizers} -Wl,--as-needed)
endif()

# Warnings are errors on our own code; -Wpsabi speaks about an ABI change of 2012 that no caller can meet.
function(qtx_warnings target)
  target_compile_options(${target} PRIVATE
    -Wall -Wextra -Wpedantic -Wshadow -Wcast-qual -Wformat=2 -Werror
    $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor -Woverloaded-virtual -Wno-psabi>)
endfunction()
