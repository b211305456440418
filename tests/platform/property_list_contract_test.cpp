// What every machine's property list reader holds to.

#include "platform/property_list.h"

#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace kyb {
namespace {

class PropertyListContract : public testing::Test {
protected:
    QString path() const { return folder_.filePath(QStringLiteral("list.plist")); }

    void write(const QByteArray &content) const {
        QFile file(path());
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(content);
    }

    void writeXml(const QByteArray &entries) const {
        write("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>" + entries +
              "</dict></plist>\n");
    }

    std::string value(const char *key) const {
        return propertyListValue(path(), QString::fromUtf8(key)).value_or(QStringLiteral("(nothing)")).toStdString();
    }

    QTemporaryDir folder_;
};

constexpr char kNothing[] = "(nothing)";

TEST_F(PropertyListContract, ReadsTextOfXml) {
    writeXml("<key>ProductVersion</key><string>10.15.7</string><key>Other</key><string>Grüße &amp; &lt;x&gt;</string>");
    EXPECT_EQ(value("ProductVersion"), "10.15.7");
    EXPECT_EQ(value("Other"), "Grüße & <x>");
    EXPECT_EQ(value("productversion"), kNothing);
}

TEST_F(PropertyListContract, ReadsAListWithItsDocumentType) {
    write(
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" \"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
        "<plist version=\"1.0\">\n<dict>\n\t<key>PackageVersion</key>\n\t<string>4.2.0</string>\n</dict>\n</plist>\n");
    EXPECT_EQ(value("PackageVersion"), "4.2.0");
}

TEST_F(PropertyListContract, ReadsTextOfABinaryList) {
    // { "ProductVersion": "13.1" }
    static constexpr char list[] = "bplist00"
                                   "\xd1\x01\x02"
                                   "\x5e"
                                   "ProductVersion"
                                   "\x54"
                                   "13.1"
                                   "\x08\x0b\x1a"
                                   "\0\0\0\0\0\0\x01\x01\0\0\0\0\0\0\0\x03\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\x1f";
    write(QByteArray(list, sizeof list - 1));
    EXPECT_EQ(value("ProductVersion"), "13.1");
    EXPECT_EQ(value("Other"), kNothing);
}

TEST_F(PropertyListContract, SpellsNumbersAndTruthValues) {
    writeXml("<key>i</key><integer>42</integer><key>n</key><integer>-7</integer><key>r</key><real>1.5</real>"
             "<key>t</key><true/><key>f</key><false/>");
    EXPECT_EQ(value("i"), "42");
    EXPECT_EQ(value("n"), "-7");
    EXPECT_EQ(value("r"), "1.5");
    EXPECT_EQ(value("t"), "true");
    EXPECT_EQ(value("f"), "false");
}

TEST_F(PropertyListContract, GivesAnEmptyTextForAValueOfAnotherKind) {
    writeXml("<key>a</key><array><string>x</string></array><key>d</key><dict/><key>b</key><data>AAAA</data>"
             "<key>m</key><date>2026-11-21T08:00:00Z</date><key>after</key><string>y</string>");
    for (const char *key : {"a", "d", "b", "m"}) {
        EXPECT_EQ(value(key), "") << key;
    }
    EXPECT_EQ(value("after"), "y");
}

TEST_F(PropertyListContract, TellsAnEmptyTextFromNone) {
    writeXml("<key>e</key><string></string>");
    EXPECT_EQ(value("e"), "");
}

TEST_F(PropertyListContract, GivesNothingForWhatIsNoDictionary) {
    EXPECT_EQ(value("x"), kNothing) << "no file";
    for (const char *content :
         {"", "text", "bplist00", "<plist>", "<plist version=\"1.0\"><string>x</string></plist>",
          "<plist version=\"1.0\"><array><string>x</string></array></plist>", "<dict>", "\xff\xfe"}) {
        write(content);
        EXPECT_EQ(value("x"), kNothing) << content;
    }
}

TEST_F(PropertyListContract, GivesNothingForWhatIsNoFile) {
    EXPECT_FALSE(propertyListValue(folder_.path(), QStringLiteral("x")));
    const QString fifo = folder_.filePath(QStringLiteral("fifo"));
    ASSERT_EQ(mkfifo(QFile::encodeName(fifo).constData(), 0600), 0);
    EXPECT_FALSE(propertyListValue(fifo, QStringLiteral("x")));
}

TEST_F(PropertyListContract, GivesNothingForAListThatIsTooDeepOrTooLong) {
    constexpr int depth = 1'000'000;
    writeXml("<key>x</key>" + QByteArray("<array>").repeated(depth) + QByteArray("</array>").repeated(depth));
    EXPECT_EQ(value("x"), kNothing);
    const QByteArray list("<key>x</key><string>y</string>");
    writeXml(list);
    const qsizetype most = (16 << 20) - QFile(path()).size();
    writeXml(list + QByteArray(most, ' '));
    EXPECT_EQ(value("x"), "y");
    writeXml(list + QByteArray(most + 1, ' '));
    EXPECT_EQ(value("x"), kNothing);
}

} // namespace
} // namespace kyb
