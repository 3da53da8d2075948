# SPDX-License-Identifier: Apache-2.0
# One kernel text, one object library per instruction-set target.
#
# A new target is a row here, a vocabulary header in src/simd and a row in src/simd/targets.cpp.

if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64|amd64)$" AND CMAKE_SIZEOF_VOID_P EQUAL 8)
  set(kivoTargets Baseline Sse41 Avx2 Avx512)
elseif(CMAKE_SYSTEM_PROCESSOR MATCHES "^(aarch64|arm64|ARM64)$")
  set(kivoTargets Baseline Neon)
else()
  set(kivoTargets Baseline)
endif()
set(CAMUTL_TARGETS "${kivoTargets}" CACHE STRING "Instruction-set targets to build; Baseline is always needed")
if(NOT Baseline IN_LIST CAMUTL_TARGETS)
  message(FATAL_ERROR "CAMUTL_TARGETS lacks Baseline: ${CAMUTL_TARGETS}")
endif()

set(KIVO_FLAGS_Baseline)
set(KIVO_FLAGS_Sse41 -mssse3 -msse4.1)
set(KIVO_FLAGS_Avx2 -mavx2)
set(KIVO_FLAGS_Avx512 -mavx2 -mavx512f -mavx512bw -mavx512dq -mavx512vl -mavx512vbmi)
set(KIVO_FLAGS_Neon)

set(KIVO_TARGET_DEFINITIONS)
foreach(target IN LISTS CAMUTL_TARGETS)
  string(TOUPPER ${target} upper)
  list(APPEND KIVO_TARGET_DEFINITIONS KIVO_HAVE_${upper}=1)
endforeach()

# kivo_kernels(<family> <source> [ENGINE]): the object libraries KivoCamUtl_<family>_<target> of one text, for both shared
# libraries, or with ENGINE for libKivoFrame alone. Families called table gather the tables of the others.
set(KIVO_KERNEL_FAMILIES)
set(KIVO_KERNEL_OBJECTS)
set(KIVO_ENGINE_KERNEL_OBJECTS)
function(kivo_kernels family source)
  cmake_parse_arguments(PARSE_ARGV 2 arg "ENGINE" "" "")
  set(list KIVO_KERNEL_OBJECTS)
  if(arg_ENGINE)
    set(list KIVO_ENGINE_KERNEL_OBJECTS)
  endif()
  foreach(target IN LISTS CAMUTL_TARGETS)
    set(object KivoCamUtl_${family}_${target})
    add_library(${object} OBJECT ${source})
    kivo_library_properties(${object})
    target_compile_definitions(${object} PRIVATE KIVO_TARGET=${target} KIVO_TARGET_${target}=1)
    # Kernels throw nothing and name no unwinder; their vector types cross no interface, so how they would be passed
    # does not matter. Sums in narrow lanes may wrap: what is read of them is what their lower bits tell.
    target_compile_options(${object} PRIVATE ${KIVO_FLAGS_${target}} -fno-exceptions -fwrapv -Wno-psabi)
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND target STREQUAL "Avx512")
      # g++ 12 reports its own AVX-512 header for using undefined vectors on purpose.
      target_compile_options(${object} PRIVATE -Wno-maybe-uninitialized -Wno-uninitialized)
    endif()
    list(APPEND ${list} ${object})
  endforeach()
  set(${list} ${${list}} PARENT_SCOPE)
  if(NOT family MATCHES "table$")
    set(KIVO_KERNEL_FAMILIES ${KIVO_KERNEL_FAMILIES} ${family} PARENT_SCOPE)
  endif()
endfunction()
