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

# Fuzzing: libFuzzer comes with Clang only. Everything built here gets the
# coverage instrumentation libFuzzer steers by; the fuzz programs
# themselves link -fsanitize=fuzzer (tests/fuzz/CMakeLists.txt).
if(VESK_BUILD_FUZZ)
  if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    message(FATAL_ERROR
      "VESK_BUILD_FUZZ=ON needs Clang and its libFuzzer, but the C++ "
      "compiler is ${CMAKE_CXX_COMPILER_ID} (${CMAKE_CXX_COMPILER}). "
      "Configure a new build folder with -DCMAKE_CXX_COMPILER=clang++ "
      "(`make fuzz` does).")
  endif()
  if(NOT VESK_BUILD_CLI)
    message(FATAL_ERROR
      "VESK_BUILD_FUZZ=ON needs VESK_BUILD_CLI=ON: the fuzz targets run "
      "the host's document loader.")
  endif()
  include(CheckCXXSourceCompiles)
  set(CMAKE_REQUIRED_LINK_OPTIONS -fsanitize=fuzzer)
  check_cxx_source_compiles([[
    #include <cstddef>
    #include <cstdint>
    extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t*, std::size_t) {
      return 0;
    }]] VESK_HAVE_LIBFUZZER)
  unset(CMAKE_REQUIRED_LINK_OPTIONS)
  if(NOT VESK_HAVE_LIBFUZZER)
    message(FATAL_ERROR
      "VESK_BUILD_FUZZ=ON: ${CMAKE_CXX_COMPILER} cannot link -fsanitize=fuzzer "
      "(on Debian, libFuzzer is in libclang-rt-14-dev; tools/install-deps "
      "installs it).")
  endif()
  add_compile_options(-fsanitize=fuzzer-no-link)
  # The instrumentation calls into libFuzzer's runtime. The fuzz programs
  # link all of libFuzzer; every other program (vesk-report, the test
  # suites, the corpus replays, the install consumers) links its runtime
  # without main(), so a fuzz build links whatever else it builds.
  execute_process(
    COMMAND ${CMAKE_CXX_COMPILER}
            -print-file-name=libclang_rt.fuzzer_no_main-${CMAKE_SYSTEM_PROCESSOR}.a
    OUTPUT_VARIABLE VESK_FUZZER_NO_MAIN OUTPUT_STRIP_TRAILING_WHITESPACE)
  if(NOT EXISTS "${VESK_FUZZER_NO_MAIN}")
    message(FATAL_ERROR
      "VESK_BUILD_FUZZ=ON: ${CMAKE_CXX_COMPILER} has no libFuzzer runtime "
      "without main() (libclang_rt.fuzzer_no_main; on Debian, in "
      "libclang-rt-14-dev).")
  endif()
  link_libraries("$<$<AND:$<STREQUAL:$<TARGET_PROPERTY:TYPE>,EXECUTABLE>,$<NOT:$<BOOL:$<TARGET_PROPERTY:VESK_LIBFUZZER_PROGRAM>>>>:${VESK_FUZZER_NO_MAIN}>")
endif()
