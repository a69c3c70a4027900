# How everything of the project is compiled: zor_settings carries warnings, sanitizers and the
# floating-point rules that keep results equal on all targets.

add_library(zor_settings INTERFACE)

target_compile_options(zor_settings INTERFACE
    -Wall -Wextra -Wpedantic -Werror -Wconversion -Wsign-conversion -Wshadow -Wformat=2
    -Wcast-qual -Wundef
    $<$<COMPILE_LANGUAGE:CXX>:-Wold-style-cast -Wnon-virtual-dtor -Woverloaded-virtual>
    -ffp-contract=off)

# File positions and file status beyond 2 GiB on 32-bit systems.
target_compile_definitions(zor_settings INTERFACE _FILE_OFFSET_BITS=64)

# Sanitizers go into everything, the test framework included.
if(ZOR_SANITIZE)
    add_compile_options(-fsanitize=${ZOR_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${ZOR_SANITIZE})
endif()
