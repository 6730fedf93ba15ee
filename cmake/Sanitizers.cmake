# Instruments everything that links vk_sanitizers with the sanitizers named in VKKRNX_SANITIZE.
add_library(vk_sanitizers INTERFACE)
if(VKKRNX_SANITIZE)
  target_compile_options(vk_sanitizers INTERFACE -fsanitize=${VKKRNX_SANITIZE} -fno-omit-frame-pointer
                                                 -fno-sanitize-recover=all)
  target_link_options(vk_sanitizers INTERFACE -fsanitize=${VKKRNX_SANITIZE})
endif()
