# Instruments everything that links vk_sanitizers with the sanitizers named in VKKRNX_SANITIZE, and modules, which come
# and go while a program runs, with those of them that keep nothing in a module: a fuzzer keeps its counters there.
string(REPLACE ",fuzzer-no-link" "" of_modules "${VKKRNX_SANITIZE}")
foreach(pair "vk_sanitizers=${VKKRNX_SANITIZE}" "vk_module_sanitizers=${of_modules}")
  string(REGEX REPLACE "=.*" "" target "${pair}")
  string(REGEX REPLACE "^[^=]*=" "" names "${pair}")
  add_library(${target} INTERFACE)
  if(names)
    target_compile_options(${target} INTERFACE -fsanitize=${names} -fno-omit-frame-pointer -fno-sanitize-recover=all)
    target_link_options(${target} INTERFACE -fsanitize=${names})
  endif()
endforeach()

# With VKKRNX_COVERAGE what links vk_counted counts the branches that it takes, for scripts/coverage.sh. Functions are
# inlined after they have been given their counters, so that what is counted is what the source says; what does not count
# is compiled as ever.
add_library(vk_counted INTERFACE)
if(VKKRNX_COVERAGE)
  target_compile_options(vk_counted INTERFACE --coverage -O1 -fprofile-update=atomic -fno-early-inlining -fno-ssa-phiopt
                                             -w) # what it warns of, other builds do
  target_link_options(vk_sanitizers INTERFACE --coverage)
endif()
