# How every target of this project is compiled, and the two kinds of target there are.

add_library(rectiline_flags INTERFACE)
target_compile_features(rectiline_flags INTERFACE cxx_std_20)
# Contraction would give fused and unfused builds different maps.
target_compile_options(rectiline_flags INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wno-sign-conversion -ffp-contract=off)
if(PROJECT_IS_TOP_LEVEL)  # another project's compiler may know warnings that nobody has seen here
  target_compile_options(rectiline_flags INTERFACE -Werror)
endif()
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  # g++ 12 at -O3 reports overlapping copies in sums of std::string that do not overlap.
  target_compile_options(rectiline_flags INTERFACE -Wno-restrict)
endif()

# What a file with vector kernels links: Highway, which picks the best instruction set at run time.
add_library(rectiline_simd INTERFACE)
target_link_libraries(rectiline_simd INTERFACE hwy::hwy)
target_compile_definitions(rectiline_simd INTERFACE HWY_WANT_AVX3_DL)

set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)

# rectiline_module(NAME SOURCES ... [DEPENDS ...] [PRIVATE_DEPENDS ...] [INCLUDE dir])
# One folder, one static library; its include folder is visible to the modules that name it.
function(rectiline_module name)
  cmake_parse_arguments(ARG "" "INCLUDE" "SOURCES;DEPENDS;PRIVATE_DEPENDS" ${ARGN})
  if(NOT ARG_INCLUDE)
    set(ARG_INCLUDE ${CMAKE_CURRENT_SOURCE_DIR}/include)
  endif()
  if(ARG_SOURCES)
    add_library(${name} STATIC ${ARG_SOURCES})
    # The source folder is for files with vector kernels, which Highway makes include themselves.
    target_include_directories(${name} PUBLIC ${ARG_INCLUDE}
                               PRIVATE ${CMAKE_CURRENT_SOURCE_DIR}/src)
    target_link_libraries(${name} PUBLIC ${ARG_DEPENDS} PRIVATE rectiline_flags ${ARG_PRIVATE_DEPENDS})
    target_compile_features(${name} PUBLIC cxx_std_20)
  else()
    add_library(${name} INTERFACE)
    target_include_directories(${name} INTERFACE ${ARG_INCLUDE})
    target_link_libraries(${name} INTERFACE ${ARG_DEPENDS})
    target_compile_features(${name} INTERFACE cxx_std_20)
  endif()
endfunction()

# rectiline_test(NAME SOURCES ... DEPENDS ... [KERNELS])
# One test program for one module; every test case of it is one ctest entry. KERNELS: it holds vector
# code to its plain form, and so belongs to what every target's instruction set is tested with.
if(RECTILINE_BUILD_TESTS)
  add_custom_target(kernel_tests)
endif()
function(rectiline_test name)
  cmake_parse_arguments(ARG "KERNELS" "" "SOURCES;DEPENDS" ${ARGN})
  if(NOT RECTILINE_BUILD_TESTS)
    return()
  endif()
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE ${ARG_DEPENDS} rectiline_flags rectiline_testing)
  include(GoogleTest)
  set(labels)
  if(ARG_KERNELS)
    add_dependencies(kernel_tests ${name})
    set(labels LABELS kernels)
  endif()
  gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT 600 ${labels})
endfunction()
