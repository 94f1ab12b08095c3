# zelapi_options(<target>...): the warnings, as errors, and the definitions that every target of this project is built with.
function(zelapi_options)
  foreach(target IN LISTS ARGN)
    if(MSVC)
      target_compile_options(${target} PRIVATE /W4 /WX /permissive- /utf-8 /EHsc)
    else()
      target_compile_options(
        ${target}
        PRIVATE -Wall -Wextra -Wpedantic -Werror -Wshadow -Wconversion -Wsign-conversion -Wcast-qual -Wformat=2 -Wundef
                -Wnull-dereference "$<$<COMPILE_LANGUAGE:CXX>:-Wold-style-cast;-Woverloaded-virtual>")
    endif()
    if(WIN32)
      target_compile_definitions(${target} PRIVATE UNICODE _UNICODE NOMINMAX WIN32_LEAN_AND_MEAN _WIN32_WINNT=0x0A00)
    endif()
    if(ZELAPI_SANITIZE)
      target_compile_options(${target} PRIVATE -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
      target_link_options(${target} PRIVATE -fsanitize=address,undefined)
    endif()
  endforeach()
endfunction()
