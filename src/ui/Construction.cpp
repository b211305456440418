#include "controller/KYViewController.h"

#include "text/localized_text.h"
#include "text/string_table.h"

namespace {

struct TextRow {
    kyb::Outlet KYViewController::*outlet;
    const char *key;
};

// clang-format off
/// What is written where, in this order.
constexpr TextRow kTexts[] = {
    {&KYViewController::aboutMenuItem,                              "AboutWrapper"},
    {&KYViewController::installerLog,                               "InstallerLog"},
    {&KYViewController::hideMenuItem,                               "HideWrapper"},
    {&KYViewController::hideOthers,                                 "HideOthers"},
    {&KYViewController::showAll,                                    "ShowAll"},
    {&KYViewController::quitMenuItem,                               "QuitWrapper"},
    {&KYViewController::agreeTermsOfKYB,                            "IAgreeTermsOfKYB"},
    {&KYViewController::titleDragandDropMessage,                    "TitleMessage"},
    {&KYViewController::initializingInstaller,                      "Intializing"},       // NB: spelled so in the tables
    {&KYViewController::termsOfServiceButton,                       "TermsOfService"},
    {&KYViewController::cancelButton,                               "Cancel"},
    {&KYViewController::closeButton,                                "Close"},
    {&KYViewController::nextButton,                                 "Next"},
    {&KYViewController::backButton,                                 "Back"},
    {&KYViewController::quit_App_WarningSheet_installerBusyMessage, "InstallerBusy"},
    {&KYViewController::quit_App_WarningSheet_windowClosedMessage,  "WindowClosed"},
    {&KYViewController::quit_App_WarningSheet_OK,                   "OK"},
    {&KYViewController::appsBusyWarningSheet_warning,               "Warning"},
    {&KYViewController::appsBusyWarningSheet_closeApplications,     "CloseApplications"},
    {&KYViewController::appsBusyWarningSheet_CancelButton,          "Cancel"},
    {&KYViewController::appsBusyWarningSheet_ContinueButton,        "Continue"},
    {&KYViewController::licenseAgrement,                            "License"},           // NB: spelled so in the interface
    {&KYViewController::appRunning_ContinueButton,                  "Continue"},
    {&KYViewController::publicMessage,                              "PublicComputer"},
    {&KYViewController::privateMessage,                             "PrivateComputer"},
    {&KYViewController::saveComputerSettingsMessage,                "SaveComputerSettings"},
    {&KYViewController::titleWindow,                                "titleWindow"},
};
// clang-format on
static_assert(std::size(kTexts) == 27);

} // namespace

void KYViewController::initializeNIB() {
    for (const TextRow &row : kTexts) {
        const kyb::Outlet &outlet = this->*row.outlet;
        outlet->setText(kyb::formatWithoutArguments(kyb::localizedText(QString::fromLatin1(row.key))));
        if (row.outlet == &KYViewController::termsOfServiceButton) {
            outlet->sizeToFit();
        }
    }
}
