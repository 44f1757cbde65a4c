# A source spends most of its compile time in the headers of Qt. They are read once for all targets of one kind.
# ./test --lint reads the sources without them, so each file still has to include what it uses.

# orvanel_precompile(NAME TYPE HEADERS … LIBRARIES …): a target that others reuse the compiled headers of.
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
endfunction()

set(standard_headers <chrono> <filesystem> <functional> <memory> <optional> <stop_token> <variant>)
set(core_headers <QtCore> <QtDBus> <QtNetwork> <QCoro/QCoroTask> ${standard_headers})
set(widget_headers <QtCore> <QtDBus> <QtGui> <QtWidgets> <QCoro/QCoroTask> ${standard_headers})
set(core_libraries Qt6::Core Qt6::DBus Qt6::Network QCoro6::Core)
set(widget_libraries Qt6::Core Qt6::DBus Qt6::Widgets QCoro6::Core)

orvanel_precompile(precompiled_library library HEADERS ${core_headers} LIBRARIES ${core_libraries})
orvanel_precompile(precompiled_widget_library library HEADERS ${widget_headers} LIBRARIES ${widget_libraries})
if(ORVANEL_BUILD_TESTS)
    # Not linked: Qt6::Test brings macros that name the folder of each target, and they must agree.
    orvanel_precompile(precompiled_test program HEADERS ${core_headers} <QtTest> LIBRARIES ${core_libraries})
    orvanel_precompile(precompiled_widget_test program HEADERS ${widget_headers} <QtTest> LIBRARIES ${widget_libraries})
    foreach(name precompiled_test precompiled_widget_test)
        target_include_directories(${name} SYSTEM PRIVATE $<TARGET_PROPERTY:Qt6::Test,INTERFACE_INCLUDE_DIRECTORIES>)
    endforeach()
endif()
