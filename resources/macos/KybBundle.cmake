# kyb_configure_bundle_files(OUTPUT_DIR folder)
#
# Writes the property lists of the application and of its helper into `folder`:
#
#   Info.plist          the application's
#   HelperInfo.plist    the helper's, for its __TEXT,__info_plist section
#   launchd.plist       the helper's job, for its __TEXT,__launchd_plist section
#   code_requirement.h  what the helper requires of its clients
#
# The system installs the helper only when each of the two programs satisfies what the other one's property list requires
# of it. Both requirements are made here, from the one signing identity.

set(KYB_SIGNING_IDENTITY "" CACHE STRING
  "Signing identity: \"Developer ID Application: NAME (TEAM)\". Without one, the helper serves nobody")

set(KYB_APP_IDENTIFIER "com.kyb.BrelundQuorlixInstaller")
set(KYB_HELPER_LABEL "com.kyb.InstallerHelperTool") # also in common/channel/message_keys.h
set(KYB_HELPER_SERVICE "com.kyb.HelperTool.xpc") # NB: not the label
set(KYB_BUNDLE_SOURCES "${CMAKE_CURRENT_LIST_DIR}")

# The oldest version of the application that the helper serves. To be raised when those before have a flaw that gives
# others the helper's rights.
set(KYB_MINIMUM_CLIENT_VERSION "1.0.0")

# The system replaces an installed helper only by one of a higher version: see tools/helper-version.
set(helper_version_file "${CMAKE_CURRENT_LIST_DIR}/../../helper/version.txt")
file(STRINGS "${helper_version_file}" KYB_HELPER_VERSION LIMIT_COUNT 1)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${helper_version_file}")

# Sets `result` to the team in the signing identity: ten letters and digits, in brackets at its end.
function(_kyb_team result)
  if(KYB_SIGNING_IDENTITY MATCHES "\\(([A-Z0-9][A-Z0-9][A-Z0-9][A-Z0-9][A-Z0-9][A-Z0-9][A-Z0-9][A-Z0-9][A-Z0-9][A-Z0-9])\\)$")
    set(${result} "${CMAKE_MATCH_1}" PARENT_SCOPE)
  elseif(KYB_SIGNING_IDENTITY STREQUAL "")
    set(${result} "0000000000" PARENT_SCOPE) # nobody's: a build that is not signed must not trust what is not signed
  else()
    message(FATAL_ERROR "KYB_SIGNING_IDENTITY must end with the team in brackets: \"... (AB12CD34EF)\"")
  endif()
endfunction()

# Sets `result` to the requirement that only the code `identifier`, signed with the team's Developer ID, satisfies, and
# `result`_XML to the same, for a property list. The two fields are the marks of a Developer ID: one on the certificate
# that issued the team's, one on the team's own. What else is required follows.
function(_kyb_requirement result identifier team)
  string(CONCAT text
    "anchor apple generic and identifier \"${identifier}\""
    " and certificate 1[field.1.2.840.113635.100.6.2.6] and certificate leaf[field.1.2.840.113635.100.6.1.13]"
    " and certificate leaf[subject.OU] = \"${team}\"" ${ARGN})
  set(${result} "${text}" PARENT_SCOPE)
  string(REPLACE "\"" "&quot;" xml "${text}")
  string(REPLACE ">" "&gt;" xml "${xml}")
  set(${result}_XML "${xml}" PARENT_SCOPE)
endfunction()

function(kyb_configure_bundle_files)
  cmake_parse_arguments(PARSE_ARGV 0 ARG "" "OUTPUT_DIR" "")
  foreach(version IN ITEMS "${KYB_MINIMUM_CLIENT_VERSION}" "${PROJECT_VERSION}")
    if(NOT version MATCHES "^[0-9]+\\.[0-9]+\\.[0-9]+$") # the system takes 1.0 for less than 1.0.0
      message(FATAL_ERROR "Versions have three numbers here, and \"${version}\" has not: the helper might refuse the application")
    endif()
  endforeach()
  if(KYB_MINIMUM_CLIENT_VERSION VERSION_GREATER PROJECT_VERSION)
    message(FATAL_ERROR "The helper would not serve this application: KYB_MINIMUM_CLIENT_VERSION is "
      "${KYB_MINIMUM_CLIENT_VERSION}, the application's version is ${PROJECT_VERSION}")
  endif()
  _kyb_team(team)
  _kyb_requirement(KYB_APP_REQUIREMENT "${KYB_APP_IDENTIFIER}" "${team}"
    " and info[CFBundleVersion] >= \"${KYB_MINIMUM_CLIENT_VERSION}\"")
  _kyb_requirement(KYB_HELPER_REQUIREMENT "${KYB_HELPER_LABEL}" "${team}")
  foreach(name IN ITEMS Info.plist HelperInfo.plist launchd.plist code_requirement.h)
    configure_file("${KYB_BUNDLE_SOURCES}/${name}.in" "${ARG_OUTPUT_DIR}/${name}" @ONLY)
  endforeach()
endfunction()
