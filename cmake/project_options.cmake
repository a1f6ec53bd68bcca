# Every target of ours links `project_options`: language level, warnings, and the arithmetic rules.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

find_package(Threads REQUIRED)

add_library(project_options INTERFACE)
target_include_directories(project_options INTERFACE "${CMAKE_SOURCE_DIR}")
target_compile_options(project_options INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual -Werror
  # GCC 12 at -O3 sees overlapping copies in `"text" + std::string` where there are none (its bug
  # 105651); no code of ours uses `restrict`.
  $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>
  # Texts in what is shipped name files of this tree, not of the machine that built it.
  "-fmacro-prefix-map=${CMAKE_SOURCE_DIR}/="
  # One rounding per operation on every processor, so that results are the same everywhere.
  -ffp-contract=off)
target_link_libraries(project_options INTERFACE Threads::Threads)

# A folder of the tree as a static library: corvanthelis_folder(<name> <files>... LINK <folders>...).
function(corvanthelis_folder name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "LINK")
  add_library(${name} STATIC ${arg_UNPARSED_ARGUMENTS})
  target_link_libraries(${name} PUBLIC project_options ${arg_LINK})
endfunction()

# Compiles a source of a folder once for each instruction set of the processor, as `KERNEL_SET`:
# corvanthelis_kernels(<folder> <source> [WIDE_OPTIONS <options of all sets but the portable>...]).
function(corvanthelis_kernels folder source)
  cmake_parse_arguments(PARSE_ARGV 2 arg "" "" "WIDE_OPTIONS")
  set(sets kPortable)
  if(CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|AMD64")
    list(APPEND sets kAvx2 kAvx512)
  endif()
  set(kAvx2_options -mavx2 -mfma ${arg_WIDE_OPTIONS})
  set(kAvx512_options -mavx512f -mavx512dq -mavx512vl -mfma -mprefer-vector-width=512
    ${arg_WIDE_OPTIONS})
  # Options of a source come after those of `project_options`, and so overrule them.
  set_source_files_properties(${source} PROPERTIES
    COMPILE_OPTIONS "$<TARGET_PROPERTY:KERNEL_OPTIONS>")
  foreach(set IN LISTS sets)
    add_library(${folder}_${set} OBJECT ${source})
    set_target_properties(${folder}_${set} PROPERTIES KERNEL_OPTIONS "${${set}_options}")
    target_compile_definitions(${folder}_${set} PRIVATE KERNEL_SET=${set})
    target_link_libraries(${folder}_${set} PRIVATE project_options)
    target_sources(${folder} PRIVATE $<TARGET_OBJECTS:${folder}_${set}>)
  endforeach()
endfunction()
