# What is shipped: the bundle and, beside it, the folder OSX with the driver package and its version list.
#
# macOS: a disk image, of the bundle as it lies in the build folder. It is deployed and signed there first: see
#        tools/release-macos, which calls cpack in its place among the steps.
# Linux: an archive with the same layout and the stand-in for macOS beside it, for trying an installation. It runs where it
#        is unpacked and needs the system's Qt, ICU, libplist, libarchive and pugixml.

set(CPACK_PACKAGE_NAME "BrelundQuorlixInstaller")
set(CPACK_PACKAGE_VENDOR "KYB")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Installer of the Brelund Quorlix Driver")
set(CPACK_PACKAGE_VERSION "${PROJECT_VERSION}")
set(CPACK_VERBATIM_VARIABLES ON)

get_filename_component(bundle_name "${KYB_BUNDLE}" NAME)

if(APPLE)
  set(KYB_DRIVER_FOLDER "" CACHE PATH "The folder with \"Brelund Quorlix Driver.pkg\" and \"macver.list\" to ship")
  set(CPACK_GENERATOR DragNDrop)
  set(CPACK_PACKAGE_FILE_NAME "${CPACK_PACKAGE_NAME}-${PROJECT_VERSION}")
  set(CPACK_DMG_VOLUME_NAME "Brelund Quorlix Installer")
  set(CPACK_DMG_DISABLE_APPLICATIONS_SYMLINK ON) # it runs from the image, where the folder OSX is beside it
  install(DIRECTORY "${KYB_BUNDLE}" DESTINATION . USE_SOURCE_PERMISSIONS)
  if(KYB_DRIVER_FOLDER)
    install(FILES "${KYB_DRIVER_FOLDER}/Brelund Quorlix Driver.pkg" "${KYB_DRIVER_FOLDER}/macver.list" DESTINATION OSX)
  else()
    install(CODE "message(FATAL_ERROR \"KYB_DRIVER_FOLDER is not set: there is no driver package to ship\")")
  endif()
else()
  set(CPACK_GENERATOR TGZ)
  set(CPACK_PACKAGE_FILE_NAME
    "${CPACK_PACKAGE_NAME}-${PROJECT_VERSION}-${CMAKE_SYSTEM_NAME}-${CMAKE_SYSTEM_PROCESSOR}")
  install(TARGETS BrelundQuorlixInstaller RUNTIME DESTINATION "${bundle_name}/Contents/MacOS")
  install(TARGETS KYWizard LIBRARY DESTINATION "${bundle_name}/Contents/PlugIns")
  install(TARGETS InstallerHelperTool RUNTIME DESTINATION "${bundle_name}/Contents/Library/LaunchServices")
  install(DIRECTORY "${KYB_BUNDLE}/Contents/Resources" DESTINATION "${bundle_name}/Contents")
  install(FILES "${KYB_BUNDLE}/Contents/Info.plist" DESTINATION "${bundle_name}/Contents")
  install(FILES "${CMAKE_SOURCE_DIR}/cmake/archive-readme.md" DESTINATION . RENAME README.md)
  install(FILES "${CMAKE_BINARY_DIR}/OSX/Brelund Quorlix Driver.pkg" "${CMAKE_BINARY_DIR}/OSX/macver.list"
    DESTINATION OSX)
  install(TARGETS installer PlistBuddy make_package RUNTIME DESTINATION macroot/bin)
  install(DIRECTORY "${CMAKE_BINARY_DIR}/macroot/package" DESTINATION macroot/bin USE_SOURCE_PERMISSIONS)
  install(PROGRAMS "${CMAKE_SOURCE_DIR}/tools/make-macroot" "${CMAKE_SOURCE_DIR}/tools/make-package"
    DESTINATION macroot/tools)
endif()

include(CPack)
