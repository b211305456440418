#include "receipt.h"

#include "plist_commands.h"

#include <gtest/gtest.h>

namespace kyb::macroot {

TEST(Receipt, IsAPropertyListWhateverThePackageIsCalled) {
    Receipt receipt;
    receipt.identifier = "com.example.test";
    receipt.version = "1\x01<&>";
    receipt.packageFileName = "caf\xe9.pkg";
    receipt.prefixPath = "Gr\u00fc\u00dfe";
    const std::string text = receiptText(receipt);
    EXPECT_TRUE(isXmlText(text));
    PlistEditor editor(plistFromText(text));
    EXPECT_EQ(editor.run("Print :PackageIdentifier").text, "com.example.test");
    EXPECT_EQ(editor.run("Print :PackageVersion").text, "1?<&>");
    EXPECT_EQ(editor.run("Print :PackageFileName").text, "caf?.pkg");
    EXPECT_EQ(editor.run("Print :InstallPrefixPath").text, "Gr\u00fc\u00dfe");
}

} // namespace kyb::macroot
