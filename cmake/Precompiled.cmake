# vk_precompile(<target> <header>): compiles a header once for all of a target's C++ files. Files include what they need
# all the same; this saves time only. Those of wider instruction sets (vk_simd_sources) are compiled with other options
# and do without.
function(vk_precompile target header)
  target_precompile_headers(${target} PRIVATE "$<$<COMPILE_LANGUAGE:CXX>:${header}>")
  # Lets the compiler cache look through it.
  target_compile_options(${target} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-fpch-preprocess>)
endfunction()
