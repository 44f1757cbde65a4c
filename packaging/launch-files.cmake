# Writes the files that name the program by its path, at the time of the installation: only then is the folder known into
# which it goes. Needs: prefix, bindir (below the prefix, or absolute), from, to, id.
cmake_path(ABSOLUTE_PATH bindir BASE_DIRECTORY "${prefix}" NORMALIZE)
cmake_path(APPEND bindir orvanel OUTPUT_VARIABLE program)
if(program MATCHES "[%\"$`\\\\]")
    message(FATAL_ERROR "The launchers of a desktop cannot start a program at ${program}.")
endif()
set(command "${program}")
if(NOT command MATCHES "^[A-Za-z0-9/._+-]+$")
    set(command "\"${program}\"")
endif()
foreach(kind IN ITEMS desktop service)
    configure_file("${from}/${id}.${kind}.in" "${to}/${id}.${kind}" @ONLY)
endforeach()
