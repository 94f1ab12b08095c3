# zelapi_options(<target>...): the warnings, as errors with ZELAPI_WERROR, and the definitions that every target of this
# project is built with.
function(zelapi_options)
  foreach(target IN LISTS ARGN)
    set_target_properties(${target} PROPERTIES COMPILE_WARNING_AS_ERROR ${ZELAPI_WERROR})
    if(MSVC)
      target_compile_options(${target} PRIVATE /W4 /permissive- /utf-8 /EHsc)
    else()
      target_compile_options(
        ${target}
        PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wcast-qual -Wformat=2 -Wundef
                -Wnull-dereference "$<$<COMPILE_LANGUAGE:CXX>:-Wold-style-cast;-Woverloaded-virtual>")
    endif()
    if(WIN32)
      target_compile_definitions(${target} PRIVATE UNICODE _UNICODE NOMINMAX WIN32_LEAN_AND_MEAN _WIN32_WINNT=0x0A00)
    endif()
    if(ZELAPI_SANITIZE)
      target_compile_options(${target} PRIVATE -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
      # What tests and fuzzers share is compiled once, so that a fuzzer sees which way each input takes.
      target_compile_options(${target} PRIVATE -fsanitize=fuzzer-no-link)
      target_link_options(${target} PRIVATE -fsanitize=address,undefined)
    endif()
  endforeach()
endfunction()
