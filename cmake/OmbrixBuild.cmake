# Gives every library source an OBX_MODULE definition: its path relative to
# the project root without extension (src/cpu/ombrixBlurC), the name that
# assertion messages carry.
function(ombrix_set_module_paths)
  foreach(source IN LISTS ARGN)
    file(RELATIVE_PATH relative ${PROJECT_SOURCE_DIR} ${source})
    string(REGEX REPLACE "\\.[^./]*$" "" module ${relative})
    set_property(SOURCE ${source} APPEND PROPERTY COMPILE_DEFINITIONS "OBX_MODULE=\"${module}\"")
  endforeach()
endfunction()
