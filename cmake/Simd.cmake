# vk_simd_sources(<target> AVX2 <files>...) compiles files for a wider instruction set. Code in them is reached through
# run-time selection only. GCC for Windows does not align stack slots to 32 bytes, so aligned vector moves are assembled
# as unaligned ones there.
function(vk_simd_sources target set)
  if(set STREQUAL "AVX2")
    set(flags "-mavx2;-mbmi;-mbmi2;-mlzcnt;-mpopcnt")
  elseif(set STREQUAL "AVX512")
    set(flags "-mavx512f;-mavx512bw;-mavx512vl;-mavx512dq;-mavx512vbmi;-mbmi;-mbmi2;-mlzcnt;-mpopcnt")
    # The compiler's own header leaves registers undefined on purpose, and then warns of them.
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
      list(APPEND flags "-Wno-uninitialized;-Wno-maybe-uninitialized")
    endif()
  else()
    message(FATAL_ERROR "vk_simd_sources: unknown instruction set ${set}")
  endif()
  if(WIN32)
    list(APPEND flags "-Wa,-muse-unaligned-vector-move")
  endif()
  target_sources(${target} PRIVATE ${ARGN})
  set_property(SOURCE ${ARGN} APPEND PROPERTY COMPILE_OPTIONS ${flags})
  set_property(SOURCE ${ARGN} PROPERTY SKIP_PRECOMPILE_HEADERS ON)
endfunction()
