#pragma once

#include <string_view>

namespace kyb {

/// How the program uses a text of the string table.
enum class TextUse {
    Shown,       ///< as it stands
    Format,      ///< as a format with arguments
    PictureName, ///< to find a picture in the bundle
};

struct TextKey {
    std::string_view key;
    TextUse use = TextUse::Shown;
    int arguments = 0; ///< how many a format takes; each is an object, "%@"
};

/// The keys that the program looks up beside those of the controls' own texts: for whoever checks a string table.
inline constexpr TextKey kTextKeys[] = {
    // the forward button
    {"Next"},
    {"Back"},
    {"Install"},
    // the window
    {"backgroundImage", TextUse::PictureName},
    // the drag screen
    {"applicationImage", TextUse::PictureName},
    {"displayName"},
    {"AppInstalledWarningMessage", TextUse::Format, 2}, // the display name, the installed version
    {"MissingPackage"},
    {"AvailableSpace"},
    {"GB"},
    // the progress screen
    {"Uninstalling"},
    {"UninstallComplete"},
    {"Installing", TextUse::Format, 1}, // the display name
    {"PHASE_Cleaning"},
    {"PHASE_Configure"},
    {"PHASE_FinishInstall"},
    {"PHASE_MovingItems"},
    {"PHASE_Optimising"},
    {"PHASE_PrepareDisk"},
    {"PHASE_PrepareInstall"},
    {"PHASE_Registering"},
    {"PHASE_RunInstallActions"},
    {"PHASE_RunScripts"},
    {"PHASE_ValidatePkgs"},
    {"PHASE_Wait"},
    {"PHASE_WriteFiles"},
    {"PHASE_WritingPkg"},
    // the result screen
    {"InstallFailed"}, // also on the progress screen
    {"InstallFailedSubResult"},
    {"InstallSuccessful"},
    {"InstallSuccessfulSubResult"},
    // the views
    {"SourceIconName"},
    {"SourceIconHelp"},
    {"DestinationIconName"},
    {"DestinationIconHelp"},
    {"HelpIconName"},
    {"LogTextName"},
    {"Copy"},
    {"Select All"},
};

} // namespace kyb
