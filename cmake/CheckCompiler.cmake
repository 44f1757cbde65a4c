# GCC before 12.3 silently compiles some coroutines to wrong code, so older versions of GCC are refused.
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
    message(FATAL_ERROR
        "Orvanel needs clang 16 or GCC 13 (this is GCC ${CMAKE_CXX_COMPILER_VERSION}, which miscompiles coroutines): "
        "install clang-16 and configure with -DCMAKE_CXX_COMPILER=clang++-16.")
endif()
if(CMAKE_CXX_COMPILER_ID MATCHES "Clang" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 16)
    message(FATAL_ERROR
        "Orvanel needs clang 16 or GCC 13 (this is clang ${CMAKE_CXX_COMPILER_VERSION}): "
        "install clang-16 and configure with -DCMAKE_CXX_COMPILER=clang++-16.")
endif()
