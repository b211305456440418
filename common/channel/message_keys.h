#pragma once

// The names and texts that the application and the privileged helper agree on.

namespace kyb {

/// The mach service that the helper publishes. Not the job label: the two differ.
inline constexpr char kHelperServiceName[] = "com.kyb.HelperTool.xpc";

/// The helper's job label, and the name of its file.
inline constexpr char kHelperLabel[] = "com.kyb.InstallerHelperTool";

/// Request: the complete shell command line to run as root.
inline constexpr char kCommandKey[] = "command_to_be_execute"; // NB: spelled so on both sides.

/// Request, optional: the file that gets the command's output.
inline constexpr char kInstallerLogPathKey[] = "installerlog_file_path";

/// Reply: the helper's free-text answer.
inline constexpr char kReplyKey[] = "reply";

/// The one file that the helper writes for a client (a fixed system path).
inline constexpr char kProgressMessageFile[] = "/var/tmp/kyb/BrelundQuorlix_ProgressMessage.log";

/// The line that ends the progress file, always.
inline constexpr char kInstallationDone[] = "Installation_Done";

} // namespace kyb
