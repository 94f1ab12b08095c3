# zelapi_compile_idl(<target> <idl>)
#
# Makes the interface library <target>: the C++ header of an IDL file, its interface identifiers, and its type library
# <name>.tlb in the build directory (property TYPE_LIBRARY of <target>). Uses midl with MSVC, widl elsewhere.
function(zelapi_compile_idl target idl)
  get_filename_component(name ${idl} NAME_WE)
  get_filename_component(idl ${idl} ABSOLUTE)
  set(out ${CMAKE_CURRENT_BINARY_DIR}/idl)
  file(MAKE_DIRECTORY ${out})
  set(header ${out}/${name}.h)
  set(ids ${out}/${name}_i.c)
  set(tlb ${out}/${name}.tlb)

  if(MSVC)
    add_custom_command(
      OUTPUT ${header} ${ids} ${tlb}
      COMMAND midl /nologo /env x64 /out ${out} /h ${name}.h /iid ${name}_i.c /tlb ${name}.tlb ${idl}
      DEPENDS ${idl} VERBATIM)
  else()
    find_program(ZELAPI_WIDL NAMES x86_64-w64-mingw32-widl REQUIRED)
    find_path(ZELAPI_WINE_IDL_DIR oaidl.idl PATHS /usr/include/wine/wine/windows /usr/include/wine/windows
              NO_CMAKE_FIND_ROOT_PATH REQUIRED)
    find_path(ZELAPI_WINE_TLB_DIR stdole2.tlb
              PATHS /usr/lib/x86_64-linux-gnu/wine/x86_64-windows /usr/lib/wine/x86_64-windows NO_CMAKE_FIND_ROOT_PATH
              REQUIRED)
    set(widl ${ZELAPI_WIDL} -I${ZELAPI_WINE_IDL_DIR} -L${ZELAPI_WINE_TLB_DIR})
    add_custom_command(OUTPUT ${header} COMMAND ${widl} -h -o ${header} ${idl} DEPENDS ${idl} VERBATIM)
    add_custom_command(OUTPUT ${ids} COMMAND ${widl} -u -o ${ids} ${idl} DEPENDS ${idl} VERBATIM)
    add_custom_command(OUTPUT ${tlb} COMMAND ${widl} -t -o ${tlb} ${idl} DEPENDS ${idl} VERBATIM)
  endif()

  add_library(${target} STATIC ${ids} ${header} ${tlb})
  target_include_directories(${target} SYSTEM PUBLIC ${out})
  set_target_properties(${target} PROPERTIES TYPE_LIBRARY ${tlb})
endfunction()
