# Compiler settings shared by every target of this project. Warnings and
# -Werror stay PRIVATE, so that consumers of the installed package never
# inherit them.
function(vesk_setup_target target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic)
  if(VESK_WERROR)
    target_compile_options(${target} PRIVATE -Werror)
    # GCC 12 reports -Wrestrict inside the standard library's own string
    # concatenation when it inlines it at -O3, a false alarm of that release;
    # it stays a warning there.
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU"
       AND CMAKE_CXX_COMPILER_VERSION VERSION_GREATER_EQUAL 12
       AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
      target_compile_options(${target} PRIVATE -Wno-error=restrict)
    endif()
  endif()
endfunction()

# Sanitizers apply to everything built here, third-party test code included,
# so that an instrumented library never meets an uninstrumented caller.
if(VESK_SANITIZE)
  string(REPLACE "," ";" _vesk_sanitizers "${VESK_SANITIZE}")
  foreach(_san IN LISTS _vesk_sanitizers)
    add_compile_options(-fsanitize=${_san})
    add_link_options(-fsanitize=${_san})
  endforeach()
  add_compile_options(-fno-omit-frame-pointer -fno-sanitize-recover=all)
endif()
