# Compiler settings that every target of ours shares; link against corvane_flags to get them.
add_library(corvane_flags INTERFACE)
target_compile_options(corvane_flags INTERFACE -Wall -Wextra -Wconversion -Werror)
target_compile_definitions(corvane_flags INTERFACE _FILE_OFFSET_BITS=64)
if(CORVANE_SANITIZE)
  target_compile_options(corvane_flags INTERFACE -fsanitize=${CORVANE_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(corvane_flags INTERFACE -fsanitize=${CORVANE_SANITIZE})
  # g++ 12 sees phantom overflows and uninitialised values through the instrumentation.
  target_compile_options(corvane_flags INTERFACE $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized -Wno-stringop-overflow -Wno-restrict>)
  if(CORVANE_SANITIZE MATCHES thread)
    target_compile_options(corvane_flags INTERFACE -Wno-tsan)
  endif()
endif()
