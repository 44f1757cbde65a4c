# One interface target carries every flag of the project; each of our targets links it.
option(ORVANEL_WARNINGS_ARE_ERRORS "Fail the build on a warning" OFF)
set(ORVANEL_SANITIZER "" CACHE STRING "Sanitizer of this build: empty, address (with undefined behaviour), fuzzer (the same, and libFuzzer) or thread")

add_library(orvanel_flags INTERFACE)
add_library(Orvanel::flags ALIAS orvanel_flags)

target_compile_features(orvanel_flags INTERFACE cxx_std_20)
set(CMAKE_CXX_EXTENSIONS OFF)

# lld links the test programs in a tenth of the time.
include(CheckLinkerFlag)
check_linker_flag(CXX -fuse-ld=lld ORVANEL_HAS_LLD)
if(ORVANEL_HAS_LLD)
    add_link_options(-fuse-ld=lld)
endif()

# Designated initializers name only what differs from the defaults. clang 17 and later and GCC warn of the other fields.
if(NOT CMAKE_CXX_COMPILER_ID MATCHES "Clang" OR CMAKE_CXX_COMPILER_VERSION VERSION_GREATER_EQUAL 17)
    set(ORVANEL_DEFAULTED_FIELDS -Wno-missing-field-initializers)
endif()

target_compile_options(orvanel_flags INTERFACE
    -Wall -Wextra -Wpedantic -Wconversion -Wsign-conversion -Wshadow
    -Woverloaded-virtual -Wnon-virtual-dtor -Wold-style-cast ${ORVANEL_DEFAULTED_FIELDS}
    $<$<BOOL:${ORVANEL_WARNINGS_ARE_ERRORS}>:-Werror>)

target_compile_definitions(orvanel_flags INTERFACE
    QT_NO_CAST_FROM_ASCII
    QT_NO_CAST_TO_ASCII
    QT_NO_CAST_FROM_BYTEARRAY
    QT_NO_URL_CAST_FROM_STRING
    QT_NO_KEYWORDS
    QT_NO_NARROWING_CONVERSIONS_IN_CONNECT
    QT_STRICT_ITERATORS
    QT_DISABLE_DEPRECATED_BEFORE=0x060400
    $<$<BOOL:${ORVANEL_WARNINGS_ARE_ERRORS}>:QT_FORCE_ASSERTS>)

if(ORVANEL_SANITIZER STREQUAL "address")
    set(sanitizers -fsanitize=address,undefined -fno-sanitize-recover=undefined)
elseif(ORVANEL_SANITIZER STREQUAL "fuzzer")
    set(sanitizers -fsanitize=address,undefined,fuzzer-no-link -fno-sanitize-recover=undefined)
elseif(ORVANEL_SANITIZER STREQUAL "thread")
    set(sanitizers -fsanitize=thread)
elseif(NOT ORVANEL_SANITIZER STREQUAL "")
    message(FATAL_ERROR "ORVANEL_SANITIZER is \"${ORVANEL_SANITIZER}\"; it can be empty, address, fuzzer or thread.")
endif()
if(sanitizers)
    target_compile_options(orvanel_flags INTERFACE ${sanitizers} -fno-omit-frame-pointer)
    target_link_options(orvanel_flags INTERFACE ${sanitizers})
endif()

# orvanel_library(NAME SOURCES ...): the static library of one folder, known to others as Orvanel::NAME.
function(orvanel_library name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES")
    add_library(orvanel_${name} STATIC ${arg_SOURCES})
    add_library(Orvanel::${name} ALIAS orvanel_${name})
    # Headers are included with their folder ("process/DockerCLI.h"). A target finds the folder only if it links its
    # library: each library's include path has one link, to its own folder.
    target_include_directories(orvanel_${name} PUBLIC "${CMAKE_CURRENT_BINARY_DIR}/include")
    file(MAKE_DIRECTORY "${CMAKE_CURRENT_BINARY_DIR}/include")
    file(CREATE_LINK "${CMAKE_CURRENT_SOURCE_DIR}" "${CMAKE_CURRENT_BINARY_DIR}/include/${name}" SYMBOLIC)
    target_link_libraries(orvanel_${name} PUBLIC orvanel_flags)
endfunction()
