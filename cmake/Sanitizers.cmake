# vk_sanitizers instruments what links it with the sanitizers named in VKKRNX_SANITIZE. Modules, which come and go while a
# program runs, are without what a fuzzer counts, for it keeps that in them. Code of tests is held to the addresses that it
# uses alone: the other checks take half of the time that it compiles, and of the time that it runs.
function(vk_add_sanitizers target names)
  add_library(${target} INTERFACE)
  if(names)
    target_compile_options(${target} INTERFACE -fsanitize=${names} -fno-omit-frame-pointer -fno-sanitize-recover=all)
    target_link_options(${target} INTERFACE -fsanitize=${VKKRNX_SANITIZE})
  endif()
endfunction()
string(REPLACE ",fuzzer-no-link" "" of_modules "${VKKRNX_SANITIZE}")
string(REPLACE ",undefined" "" of_tests "${of_modules}")
vk_add_sanitizers(vk_sanitizers "${VKKRNX_SANITIZE}")
vk_add_sanitizers(vk_module_sanitizers "${of_modules}")
vk_add_sanitizers(vk_test_sanitizers "${of_tests}")

# With VKKRNX_COVERAGE what links vk_counted counts the branches that it takes, for scripts/coverage.sh. Functions are
# inlined after they have been given their counters, so that what is counted is what the source says; what does not count
# is compiled as ever.
add_library(vk_counted INTERFACE)
if(VKKRNX_COVERAGE)
  target_compile_options(vk_counted INTERFACE --coverage -O1 -fprofile-update=atomic -fno-early-inlining -fno-ssa-phiopt
                                             -w) # what it warns of, other builds do
  target_link_options(vk_sanitizers INTERFACE --coverage)
endif()
