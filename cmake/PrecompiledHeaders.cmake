# Most of the time to compile a source goes into Qt's headers, so they are compiled once for all targets of one kind.
# ./test --lint compiles the sources without these, so each file still has to include what it uses.

# CMake's own flags name the header a second time, with its full path. ccache would then find nothing that was compiled in
# another folder.
if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    set(CMAKE_CXX_COMPILE_OPTIONS_USE_PCH -Xclang -include-pch -Xclang <PCH_FILE>)
endif()

# orvanel_precompile(NAME TYPE HEADERS … LIBRARIES …): adds a target whose compiled headers other targets reuse.
function(orvanel_precompile name type)
    cmake_parse_arguments(PARSE_ARGV 2 arg "" "" "HEADERS;LIBRARIES")
    set(source "${CMAKE_CURRENT_BINARY_DIR}/${name}.cpp")
    file(CONFIGURE OUTPUT "${source}" CONTENT "int main() {}\n")
    if(type STREQUAL program)
        add_executable(${name} EXCLUDE_FROM_ALL "${source}")
    else()
        add_library(${name} STATIC EXCLUDE_FROM_ALL "${source}")
    endif()
    set_target_properties(${name} PROPERTIES AUTOMOC OFF AUTORCC OFF)
    target_link_libraries(${name} PRIVATE orvanel_flags ${arg_LIBRARIES})
    target_precompile_headers(${name} PRIVATE ${arg_HEADERS})
    if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
        set_target_properties(${name} PROPERTIES CXX_COMPILER_LAUNCHER "${PROJECT_SOURCE_DIR}/cmake/precompile")
    else()
        set_target_properties(${name} PROPERTIES CXX_COMPILER_LAUNCHER "")
    endif()
endfunction()

set(standard_headers <chrono> <filesystem> <functional> <memory> <optional> <stop_token> <variant>)
set(core_headers <QtCore> <QtDBus> <QtNetwork> <QCoro/QCoroTask> ${standard_headers})
set(widget_headers <QtCore> <QtDBus> <QtGui> <QtWidgets> <QCoro/QCoroTask> ${standard_headers})
set(core_libraries Qt6::Core Qt6::DBus Qt6::Network QCoro6::Core)
set(widget_libraries Qt6::Core Qt6::DBus Qt6::Widgets QCoro6::Core)

orvanel_precompile(precompiled_library library HEADERS ${core_headers} LIBRARIES ${core_libraries})
orvanel_precompile(precompiled_widget_library library HEADERS ${widget_headers} LIBRARIES ${widget_libraries})

# Qt6::Test without its macros. They contain the folder of each target, so targets could share neither compiled headers
# nor cached objects.
add_library(orvanel_qt_test INTERFACE)
target_include_directories(orvanel_qt_test SYSTEM INTERFACE $<TARGET_PROPERTY:Qt6::Test,INTERFACE_INCLUDE_DIRECTORIES>)
target_link_libraries(orvanel_qt_test INTERFACE Qt6::Core $<LINK_ONLY:Qt6::Test>)

# The flags of the test programs. Optimizing them would double the compile time for no gain.
add_library(orvanel_test_flags INTERFACE)
target_compile_options(orvanel_test_flags INTERFACE $<$<CONFIG:Debug>:-O0>)
target_link_libraries(orvanel_test_flags INTERFACE orvanel_flags orvanel_qt_test)

orvanel_precompile(precompiled_test program
    HEADERS ${core_headers} <QtTest> LIBRARIES ${core_libraries} orvanel_test_flags)
orvanel_precompile(precompiled_widget_test program
    HEADERS ${widget_headers} <QtTest> LIBRARIES ${widget_libraries} orvanel_test_flags)
