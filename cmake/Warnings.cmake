# Warnings are errors everywhere. `vexo_options` also carries the sanitizers of a check build.
set(VEXO_SANITIZE "" CACHE STRING "Sanitizers of this build, as -fsanitize takes them: address,undefined or thread")

add_library(vexo_options INTERFACE)
target_compile_features(vexo_options INTERFACE cxx_std_17)
target_compile_options(vexo_options INTERFACE
    -Wall -Wextra -Wpedantic -Werror -Wshadow -Wconversion -Wsign-conversion -Wnon-virtual-dtor
    -Wold-style-cast -Woverloaded-virtual -Wformat=2)
if(VEXO_SANITIZE)
    target_compile_options(vexo_options INTERFACE
        -fsanitize=${VEXO_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(vexo_options INTERFACE -fsanitize=${VEXO_SANITIZE})
endif()
