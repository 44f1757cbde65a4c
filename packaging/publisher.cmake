# Values that only the publisher of a package knows. Each value is left out of the package unless it is set, because an address
# that does not exist is worse than none. Sets maintainer, signature, source, urls and screenshots for the templates.
set(ORVANEL_HOMEPAGE "" CACHE STRING "Address of the home page")
set(ORVANEL_BUG_TRACKER "" CACHE STRING "Address where people report bugs")
set(ORVANEL_PICTURES "" CACHE STRING "Address of a folder with the files of docs/pictures, for software centres")
set(ORVANEL_MAINTAINER "" CACHE STRING "Maintainer of the package, as: Name <user@example.org>")

foreach(name IN ITEMS ORVANEL_HOMEPAGE ORVANEL_BUG_TRACKER ORVANEL_PICTURES)
    if(${name} AND NOT ${name} MATCHES "^https?://[^ <>&\"']+$")
        message(FATAL_ERROR "${name} is not a web address: ${${name}}")
    endif()
endforeach()
if(ORVANEL_MAINTAINER AND NOT ORVANEL_MAINTAINER MATCHES "^[^<>]+ <[^<> ]+@[^<> ]+>$")
    message(FATAL_ERROR "ORVANEL_MAINTAINER must look like \"Name <user@example.org>\": ${ORVANEL_MAINTAINER}")
endif()

# Debian's formats require both, with or without an address.
set(maintainer "The Orvanel developers")
set(signature "The Orvanel developers <>")
if(ORVANEL_MAINTAINER)
    set(maintainer "${ORVANEL_MAINTAINER}")
    set(signature "${ORVANEL_MAINTAINER}")
endif()

set(source "")
set(urls "")
if(ORVANEL_HOMEPAGE)
    set(source "Source: ${ORVANEL_HOMEPAGE}\n")
    string(APPEND urls "  <url type=\"homepage\">${ORVANEL_HOMEPAGE}</url>\n")
endif()
if(ORVANEL_BUG_TRACKER)
    string(APPEND urls "  <url type=\"bugtracker\">${ORVANEL_BUG_TRACKER}</url>\n")
endif()

set(screenshots "")
if(ORVANEL_PICTURES)
    set(screenshots "  <screenshots>
    <screenshot type=\"default\">
      <caption>All monitors at a glance</caption>
      <image type=\"source\">${ORVANEL_PICTURES}/main-light.png</image>
    </screenshot>
    <screenshot>
      <caption>The dark theme</caption>
      <image type=\"source\">${ORVANEL_PICTURES}/main-dark.png</image>
    </screenshot>
  </screenshots>
")
endif()
