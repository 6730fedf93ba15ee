# Instruments everything that links vk_sanitizers with the sanitizers named in VKKRNX_SANITIZE.
add_library(vk_sanitizers INTERFACE)
if(VKKRNX_SANITIZE)
  target_compile_options(vk_sanitizers INTERFACE -fsanitize=${VKKRNX_SANITIZE} -fno-omit-frame-pointer
                                                 -fno-sanitize-recover=all)
  target_link_options(vk_sanitizers INTERFACE -fsanitize=${VKKRNX_SANITIZE})
endif()

# With VKKRNX_COVERAGE what links vk_counted counts the branches that it takes, for scripts/coverage.sh. Functions are
# inlined after they have been given their counters, so that what is counted is what the source says; what does not count
# is compiled as ever.
add_library(vk_counted INTERFACE)
if(VKKRNX_COVERAGE)
  target_compile_options(vk_counted INTERFACE --coverage -O1 -fprofile-update=atomic -fno-early-inlining -fno-ssa-phiopt
                                             -w) # what it warns of, other builds do
  target_link_options(vk_sanitizers INTERFACE --coverage)
endif()
