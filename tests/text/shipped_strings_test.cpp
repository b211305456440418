// The string tables and the terms that are shipped. KYB_RESOURCES_DIR is the folder with the "<language>.lproj"
// folders.

#include "text/rich_text.h"
#include "text/string_table.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QSet>
#include <gtest/gtest.h>

namespace kyb {
namespace {

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

/// The keys that the program looks up beside those of the controls' own texts.
constexpr TextKey kTextKeys[] = {
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
    {"SourceIconTermsFirst"},
    {"DestinationIconName"},
    {"DestinationIconHelp"},
    {"HelpIconName"},
    {"LogTextName"},
    {"Copy"},
    {"Select All"},
    {"NoMatches"},
    {"OneMatch", TextUse::Format, 1}, // the number of lines
    {"Matches", TextUse::Format, 1},
};

/// The keys of the controls' own texts. These are shown through a format without arguments.
constexpr std::string_view kControlTextKeys[] = {"AboutWrapper",
                                                 "InstallerLog",
                                                 "HideWrapper",
                                                 "HideOthers",
                                                 "ShowAll",
                                                 "QuitWrapper",
                                                 "IAgreeTermsOfKYB",
                                                 "TitleMessage",
                                                 "Intializing",
                                                 "TermsOfService",
                                                 "Cancel",
                                                 "Close",
                                                 "Next",
                                                 "Back",
                                                 "InstallerBusy",
                                                 "WindowClosed",
                                                 "OK",
                                                 "Warning",
                                                 "CloseApplications",
                                                 "Continue",
                                                 "License",
                                                 "PublicComputer",
                                                 "PrivateComputer",
                                                 "SaveComputerSettings",
                                                 "titleWindow"};

QString toText(std::string_view key) {
    return QString::fromLatin1(key.data(), static_cast<qsizetype>(key.size()));
}

QByteArray contentsOf(const QString &path) {
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << path.toStdString();
    return file.readAll();
}

class ShippedLanguage : public testing::TestWithParam<std::string> {
protected:
    QString folder_ = QStringLiteral(KYB_RESOURCES_DIR "/%1.lproj/").arg(QString::fromStdString(GetParam()));
    QByteArray bytes_ = contentsOf(folder_ + QStringLiteral("Localizable.strings"));
    StringTable table_ = parseStringTable(bytes_);

    QString text(std::string_view key) const { return table_.entries.value(toText(key)); }
};

/// The languages in the resources folder, so that a new one is tested without a line here.
std::vector<std::string> languages() {
    std::vector<std::string> result;
    for (const QString &folder :
         QDir(QStringLiteral(KYB_RESOURCES_DIR)).entryList({QStringLiteral("*.lproj")}, QDir::Dirs)) {
        result.push_back(folder.chopped(6).toStdString());
    }
    return result;
}

INSTANTIATE_TEST_SUITE_P(All, ShippedLanguage, testing::ValuesIn(languages()),
                         [](const auto &language) { return language.param; });

TEST(ShippedLanguages, AreAtLeastEnglishAndGerman) {
    const std::vector<std::string> all = languages();
    EXPECT_NE(std::find(all.begin(), all.end(), "en"), all.end());
    EXPECT_NE(std::find(all.begin(), all.end(), "de"), all.end());
}

TEST(ShippedGerman, CallsThingsByTheirUsualNames) {
    const QString folder = QStringLiteral(KYB_RESOURCES_DIR "/de.lproj/");
    const QString texts = QString::fromUtf8(contentsOf(folder + u"Localizable.strings"_qs) +
                                            contentsOf(folder + u"Interface.strings"_qs));
    for (const char16_t *stiff :
         {u"Volume", u"volume", u"angesehen", u"nur noch etwas", u"in Gebrauch", u"gemeinsamen"}) {
        EXPECT_FALSE(texts.contains(QString::fromUtf16(stiff))) << QString::fromUtf16(stiff).toStdString();
    }
    for (const char16_t *usual : {u"Das Paket wird geprüft", u"Es dauert nur noch einen Moment.", u"Laufwerk",
                                  u"Geöffnete Programme", u"Gemeinschaftsbüro"}) {
        EXPECT_TRUE(texts.contains(QString::fromUtf16(usual))) << QString::fromUtf16(usual).toStdString();
    }
}

TEST_P(ShippedLanguage, HasNoBrokenLine) {
    for (const StringTableError &error : table_.errors) {
        ADD_FAILURE() << error.line << ": " << error.message.toStdString();
    }
}

TEST_P(ShippedLanguage, HasATextForEachKeyAndNoOther) {
    QSet<QString> expected;
    for (const std::string_view key : kControlTextKeys) {
        expected.insert(toText(key));
    }
    for (const TextKey &key : kTextKeys) {
        expected.insert(toText(key.key));
    }
    for (const QString &key : std::as_const(expected)) {
        EXPECT_FALSE(table_.entries.value(key).isEmpty()) << key.toStdString();
    }
    for (auto entry = table_.entries.begin(); entry != table_.entries.end(); ++entry) {
        EXPECT_TRUE(expected.contains(entry.key())) << entry.key().toStdString() << " is looked up by nothing";
    }
}

TEST_P(ShippedLanguage, HasEachKeyOnce) {
    const auto lines = bytes_.split('\n');
    const auto entries =
        std::count_if(lines.begin(), lines.end(), [](const QByteArray &line) { return line.startsWith('"'); });
    EXPECT_EQ(entries, table_.entries.size());
}

TEST_P(ShippedLanguage, HasOnlyDoubledPercentSignsInControlTexts) {
    for (const std::string_view key : kControlTextKeys) {
        EXPECT_FALSE(text(key).remove(QStringLiteral("%%")).contains(u'%')) << key;
    }
}

TEST_P(ShippedLanguage, HasTheArgumentsThatItsFormatsTake) {
    static const QRegularExpression placeholder(QStringLiteral("%([1-9]\\$)?@"));
    for (const TextKey &key : kTextKeys) {
        QString rest = text(key.key);
        EXPECT_EQ(rest.count(placeholder), key.use == TextUse::Format ? key.arguments : 0) << key.key;
        rest.remove(placeholder);
        if (key.use == TextUse::Format) {
            rest.remove(QStringLiteral("%%"));
        }
        EXPECT_FALSE(rest.contains(u'%')) << key.key;
    }
}

TEST_P(ShippedLanguage, NamesTheProductInItsFormats) {
    EXPECT_TRUE(formatWithArguments(text("Installing"), {text("displayName")}).contains(text("displayName")));
    const QString warning = formatWithArguments(text("AppInstalledWarningMessage"), {text("displayName"), u"1.2.3"_qs});
    EXPECT_TRUE(warning.contains(text("displayName")));
    EXPECT_TRUE(warning.contains(u"1.2.3"_qs));
}

TEST_P(ShippedLanguage, TellsTheForwardButtonsTitlesApart) {
    EXPECT_EQ(QSet<QString>({text("Next"), text("Back"), text("Install")}).size(), 3);
}

TEST_P(ShippedLanguage, NamesPicturesThatExist) {
    const QDir pictures(QStringLiteral(KYB_RESOURCES_DIR "/art"));
    for (const TextKey &key : kTextKeys) {
        if (key.use == TextUse::PictureName) {
            const QString name = text(key.key);
            EXPECT_TRUE(name.endsWith(u".png"_qs)) << key.key;
            EXPECT_TRUE(pictures.exists(name.chopped(4) + u".svg"_qs)) << key.key;
        }
    }
}

TEST_P(ShippedLanguage, HasTermsThatCanBeRead) {
    const RichTextDocument terms = parseRichText(contentsOf(folder_ + QStringLiteral("License.rtf")));
    const QString shown = plainText(terms);
    ASSERT_GT(terms.paragraphs.size(), 30);
    EXPECT_EQ(terms.paragraphs.first().alignment, RichTextAlignment::Center);
    EXPECT_TRUE(terms.paragraphs.first().runs.first().bold);
    EXPECT_EQ(terms.paragraphs.first().runs.first().text, text("License"));
    EXPECT_TRUE(shown.contains(u"\t1.\t"_qs));
    EXPECT_TRUE(shown.contains(u"Mühlenstraße"_qs));
    EXPECT_TRUE(shown.contains(u" – "_qs));
    EXPECT_TRUE(shown.contains(u"\n/Library/Printers\t"_qs));
    EXPECT_FALSE(shown.contains(u'\\'));
    EXPECT_FALSE(shown.contains(QChar::ReplacementCharacter));
}

} // namespace
} // namespace kyb
