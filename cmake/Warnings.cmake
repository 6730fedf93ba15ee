# Warnings are errors, in everything we compile ourselves.
add_library(vk_warnings INTERFACE)
target_compile_options(vk_warnings INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror)
