# zor_add_module(<key> SOURCES <file>... [LIBS <target>...] [DEFINES <definition>...])
#
# A driver module: a shared library without prefix, built and installed where the zor
# command looks for it.
function(zor_add_module key)
    cmake_parse_arguments(arg "" "" "SOURCES;LIBS;DEFINES" ${ARGN})
    add_library(zor_module_${key} MODULE ${arg_SOURCES})
    target_link_libraries(zor_module_${key} PRIVATE zor zor_settings ${arg_LIBS})
    target_compile_definitions(zor_module_${key} PRIVATE ${arg_DEFINES})
    set_target_properties(zor_module_${key} PROPERTIES
        PREFIX "" OUTPUT_NAME ${key}
        LIBRARY_OUTPUT_DIRECTORY ${ZOR_MODULE_BUILD_DIR}
        INSTALL_RPATH "$ORIGIN/../..")
    install(TARGETS zor_module_${key} LIBRARY DESTINATION ${ZOR_MODULE_INSTALL_DIR})
endfunction()
