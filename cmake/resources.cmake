# A library of files for `findResource` (platform/resources.h):
# corvanthelis_resources(<target> [<type> <name> <file>]...). A changed file is taken in anew. A
# program holds the files of all such libraries that it links.
function(corvanthelis_resources target)
  set(resources "")
  set(entries "")
  set(paths "")
  set(known "")
  set(index 0)
  while(ARGN)
    list(POP_FRONT ARGN type name file)
    if("${file}" STREQUAL "")
      message(FATAL_ERROR "${target}: a resource is given by type, name and file")
    endif()
    if("${type}/${name}" IN_LIST known)
      message(FATAL_ERROR "${target}: resource \"${type}\" \"${name}\" is there twice")
    endif()
    cmake_path(ABSOLUTE_PATH file NORMALIZE OUTPUT_VARIABLE path)
    set(symbol "${target}${index}")
    string(APPEND resources "RESOURCE(${symbol}, \"${path}\")\n")
    string(APPEND entries "    {\"${type}\", \"${name}\", ${symbol}Begin, ${symbol}End},\n")
    list(APPEND paths "${path}")
    list(APPEND known "${type}/${name}")
    math(EXPR index "${index} + 1")
  endwhile()

  set(source "${CMAKE_CURRENT_BINARY_DIR}/${target}.cpp")
  configure_file("${CMAKE_SOURCE_DIR}/cmake/resources.cpp.in" "${source}" @ONLY)
  # The compiler does not see what the assembler reads.
  set_source_files_properties("${source}" PROPERTIES OBJECT_DEPENDS "${paths}")
  # Nothing else asks the linker for it by name.
  corvanthelis_folder(${target} "${source}" LINK platform "-Wl,-u,${target}0Begin")
endfunction()
