# vk_precompile(<target> <header>), vk_precompile(<target> REUSE <other target>): compiles a header once for all C++ files
# of a target, or of several that are compiled in the same way. Files include what they need all the same; this saves
# time only. Those of wider instruction sets (vk_simd_sources) are compiled with other options and do without.
function(vk_precompile target header)
  if(header STREQUAL "REUSE")
    target_precompile_headers(${target} REUSE_FROM ${ARGV2})
  else()
    target_precompile_headers(${target} PRIVATE "$<$<COMPILE_LANGUAGE:CXX>:${header}>")
  endif()
  # Lets the compiler cache look through it, and know it again when it is made anew.
  target_compile_options(${target} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-fpch-preprocess>
                                           "$<$<CXX_COMPILER_ID:Clang>:SHELL:-Xclang -fno-pch-timestamp>")
endfunction()
