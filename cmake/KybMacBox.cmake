# The macOS side here: the preset `macbox`. Clang compiles it against hand-written declarations of the system's C
# interfaces, and it runs, program and helper, in a box that plays a Mac (tests/macbox).

if(NOT CMAKE_CXX_COMPILER_ID MATCHES "Clang")
  message(FATAL_ERROR "Blocks need Clang: use the preset macbox")
endif()

add_compile_options(-fblocks) # as a Mac's compiler has it

# What a signed build has.
set(KYB_SIGNING_IDENTITY "Developer ID Application: Test (AB12CD34EF)")

# Signs the programs of the bundle, once all is built.
function(kyb_sign_bundle)
  set(contents "${KYB_BUNDLE}/Contents")
  set(lists "${CMAKE_BINARY_DIR}/property-lists")
  add_custom_target(signed_bundle ALL
    COMMAND macbox_sign "${contents}/MacOS/BrelundQuorlixInstaller" com.kyb.BrelundQuorlixInstaller AB12CD34EF
      "${lists}/Info.plist"
    COMMAND macbox_sign "${contents}/Library/LaunchServices/com.kyb.InstallerHelperTool" com.kyb.InstallerHelperTool
      AB12CD34EF "${lists}/HelperInfo.plist" "__info_plist=${lists}/HelperInfo.plist"
      "__launchd_plist=${lists}/launchd.plist"
    VERBATIM)
  add_dependencies(signed_bundle bundle macbox_sign macbox_launchctl macbox_launchd macbox_view)
endfunction()
