# Writes the polkit actions of the root helper, one for each of its verbs, at the time of the installation: they name the
# helper by its path. Whoever may administer this computer is asked for the password each time, because the answer gives
# the rights of root. Needs: prefix, libexecdir (below the prefix, or absolute), from, to, id.
cmake_path(ABSOLUTE_PATH prefix)
cmake_path(ABSOLUTE_PATH libexecdir BASE_DIRECTORY "${prefix}" NORMALIZE)
cmake_path(APPEND libexecdir orvanel-docker-setup OUTPUT_VARIABLE helper)
if(helper MATCHES "[<>&\"]")
    message(FATAL_ERROR "A polkit action cannot name a helper at ${helper}.")
endif()
set(actions "")
function(add_action verb description message)
    string(APPEND actions "  <action id=\"${id}.docker-${verb}\">
    <description>${description}</description>
    <message>${message}</message>
    <defaults>
      <allow_any>auth_admin</allow_any>
      <allow_inactive>auth_admin</allow_inactive>
      <allow_active>auth_admin</allow_active>
    </defaults>
    <annotate key=\"org.freedesktop.policykit.exec.path\">${helper}</annotate>
    <annotate key=\"org.freedesktop.policykit.exec.argv1\">${verb}</annotate>
  </action>
")
    set(actions "${actions}" PARENT_SCOPE)
endfunction()
add_action(install "Install Docker"
    "Orvanel wants to install Docker, start it and let you use it. This gives you the rights of root.")
add_action(start "Start Docker" "Orvanel wants to start Docker, now and whenever the computer starts.")
add_action(join "Use Docker"
    "Orvanel wants to add you to the group docker and open Docker for you. This gives you the rights of root.")
configure_file("${from}/${id}.policy.in" "${to}/${id}.policy" @ONLY)
