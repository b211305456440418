#include "base/KYGlobalConstants.h"

QString curUserName;
kyb::Flag isPrivateComputerAccepted{true};
kyb::Flag installationInProgress{false};
kyb::Flag uninstallationInProgress{false};
kyb::Flag isTermsAndConditionsAccepted{false};
kyb::Flag isInitializationComplete{false};
kyb::Flag isSilentInstall{false};
kyb::Flag isUninstallationDone{false};
kyb::Flag installFailed{false};
kyb::NamedImage sourceIconImage;
kyb::NamedImage backgroundImage;
