#include "InBox.h"
#include "box.h"
#include "platform/activation.h"
#include "platform/bundle.h"
#include "platform/drag.h"
#include "platform/locale_info.h"
#include "platform/power.h"
#include "platform/property_list.h"
#include "platform/system_log.h"
#include "platform/system_root.h"
#include "platform/volume.h"
#include "posix/file_io.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

using namespace kyb;
using testing::ElementsAre;

namespace {

class SmallPortsOnMac : public InBox {
protected:
    QString write(const char *content) {
        const QString path = folder_.filePath(QStringLiteral("list.plist"));
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(content);
        return path;
    }
    QTemporaryDir folder_;
};

TEST_F(SmallPortsOnMac, AnAccessoryIsAUserInterfaceElement) {
    becomeAccessory();
    EXPECT_THAT(calls(), ElementsAre("TransformProcessType process=0:2 state=4"));
}

constexpr char kAssertion[] = "IOPMAssertionCreateWithName type=PreventUserIdleSystemSleep level=255 "
                              "name=Installing the Brelund Quorlix Driver";

TEST_F(SmallPortsOnMac, TheMachineIsKeptAwakeByOneAssertionAtATime) {
    letMachineSleep();
    EXPECT_THAT(calls(), testing::IsEmpty());
    keepMachineAwake();
    keepMachineAwake();
    letMachineSleep();
    letMachineSleep();
    keepMachineAwake();
    letMachineSleep();
    EXPECT_THAT(calls(),
                ElementsAre(kAssertion, "IOPMAssertionRelease number=0", kAssertion, "IOPMAssertionRelease number=1"));
}

TEST_F(SmallPortsOnMac, AnAssertionThatIsRefusedIsNotReleased) {
    macbox::set("power", "refused");
    keepMachineAwake();
    letMachineSleep();
    EXPECT_THAT(calls(), ElementsAre(kAssertion));
    macbox::set("power", "granted");
    keepMachineAwake();
    letMachineSleep();
    EXPECT_THAT(calls(), ElementsAre(kAssertion, kAssertion, "IOPMAssertionRelease number=1"));
}

TEST_F(SmallPortsOnMac, TheSystemCarriesDrags) {
    EXPECT_TRUE(systemCarriesDrags());
}

TEST_F(SmallPortsOnMac, TheBundleIsTheSystemsMainBundle) {
    const QString folder = QCoreApplication::applicationDirPath();
    EXPECT_EQ(bundlePath(), QFileInfo(QFileInfo(folder).path()).path());
}

TEST_F(SmallPortsOnMac, TheRootIsTheRootWhateverTheEnvironmentSays) {
    qputenv("KYB_SYSTEM_ROOT", "not even absolute");
    EXPECT_EQ(systemPath(QStringLiteral("/var/tmp/kyb")), QStringLiteral("/var/tmp/kyb"));
    EXPECT_EQ(systemPath(QStringLiteral("/")), QStringLiteral("/"));
    EXPECT_EQ(systemRootProblem(), std::nullopt);
    qunsetenv("KYB_SYSTEM_ROOT");
}

TEST_F(SmallPortsOnMac, TheSystemLogGetsTheMessageAsAnArgumentAndNeverAsAFormat) {
    systemLog(QStringLiteral("warm"));
    countFromNow();
    systemLog(QString::fromUtf8("100 % \u00e4 %@ %s"));
    EXPECT_EQ(calls().back(), "NSLog format=%@  argument=100 % \u00e4 %@ %s");
}

/// Standard error leads to a reader who may stop to read.
class StandardErrorOnMac : public SmallPortsOnMac {
protected:
    StandardErrorOnMac() {
        makeNonBlocking(pipe_.reading);
        dup2(pipe_.writing.get(), STDERR_FILENO);
    }
    ~StandardErrorOnMac() override { dup2(before_.get(), STDERR_FILENO); }

    /// Who writes more waits.
    void fill() const {
        makeNonBlocking(pipe_.writing);
        while (::write(pipe_.writing.get(), "x", 1) == 1) {
        }
        fcntl(pipe_.writing.get(), F_SETFL, O_WRONLY);
    }

    std::string read() const {
        std::string content(1 << 20, '\0');
        content.resize(std::size_t(std::max<ssize_t>(0, ::read(pipe_.reading.get(), content.data(), content.size()))));
        return content;
    }

private:
    const UniqueFd before_{dup(STDERR_FILENO)};
    const Pipe pipe_ = makePipe();
};

TEST_F(StandardErrorOnMac, GetsEachMessageWhileItIsRead) {
    systemLog(QStringLiteral("one"));
    systemLog(QStringLiteral("two"));
    EXPECT_EQ(read(), "one\ntwo\n");
    expectKept(1); // the format
}

TEST_F(StandardErrorOnMac, GetsWhatComesWhenItIsReadAgainHoweverOften) {
    for (int i = 0; i < 2; ++i) {
        fill();
        systemLog(QStringLiteral("nobody reads"));
        EXPECT_EQ(read().find("nobody"), std::string::npos);
        systemLog(QStringLiteral("somebody reads"));
        EXPECT_EQ(read(), "somebody reads\n");
    }
    expectKept(1); // the format
}

TEST_F(SmallPortsOnMac, TheStartUpVolumeHasItsOwnName) {
    macbox::set("volume name", "Macintosh HD \u2013 Daten");
    EXPECT_EQ(displayName(QStringLiteral("/")), QString::fromUtf8("Macintosh HD \u2013 Daten"));
}

TEST_F(SmallPortsOnMac, AVolumeThatTheSystemDoesNotKnowIsNamedByItsPath) {
    EXPECT_EQ(displayName(QStringLiteral("/no/such place")), QStringLiteral("such place"));
    EXPECT_EQ(freeBytesOnVolume(QStringLiteral("/no/such place")), std::nullopt);
}

TEST_F(SmallPortsOnMac, FreeSpaceIsWhatTheUserMayWrite) {
    macbox::set("free bytes", "499999999999");
    EXPECT_EQ(freeBytesOnVolume(QStringLiteral("/")), 499'999'999'999.0);
}

TEST_F(SmallPortsOnMac, APropertyListGivesItsValuesAsText) {
    const QString path = write("<?xml version=\"1.0\"?><plist version=\"1.0\"><dict><key>text</key><string>1.2\u00e4"
                               "</string><key>int</key><integer>-42</integer><key>real</key><real>1.5</real><key>yes"
                               "</key><true/><key>no</key><false/><key>list</key><array/></dict></plist>");
    EXPECT_EQ(propertyListValue(path, QStringLiteral("text")), QString::fromUtf8("1.2\u00e4"));
    EXPECT_EQ(propertyListValue(path, QStringLiteral("int")), QStringLiteral("-42"));
    EXPECT_EQ(propertyListValue(path, QStringLiteral("real")), QStringLiteral("1.5"));
    EXPECT_EQ(propertyListValue(path, QStringLiteral("yes")), QStringLiteral("true"));
    EXPECT_EQ(propertyListValue(path, QStringLiteral("no")), QStringLiteral("false"));
    EXPECT_EQ(propertyListValue(path, QStringLiteral("list")), QStringLiteral(""));
    EXPECT_EQ(propertyListValue(path, QStringLiteral("missing")), std::nullopt);
}

TEST_F(SmallPortsOnMac, WhatIsNoDictionaryHasNoValue) {
    EXPECT_EQ(propertyListValue(write("<plist version=\"1.0\"><array/></plist>"), QStringLiteral("a")), std::nullopt);
    EXPECT_EQ(propertyListValue(write("nonsense"), QStringLiteral("a")), std::nullopt);
    EXPECT_EQ(propertyListValue(write(""), QStringLiteral("a")), std::nullopt);
    EXPECT_EQ(propertyListValue(folder_.filePath(QStringLiteral("none")), QStringLiteral("a")), std::nullopt);
    EXPECT_EQ(propertyListValue(folder_.path(), QStringLiteral("a")), std::nullopt);
}

/// The locale is read once per process, so each of these needs a process of its own, as ctest gives it.
class LocaleOnMac : public SmallPortsOnMac {
protected:
    void use(const char *identifier) {
        macbox::set("locale", identifier);
        shortDateAndTime({}); // makes what lives as long as the process
        countFromNow();
    }
    /// 2020-09-13 12:26:40 UTC
    const std::chrono::system_clock::time_point time_{std::chrono::seconds{1'600'000'000}};
};

TEST_F(LocaleOnMac, AmericanEnglish) {
    use("en_US");
    EXPECT_EQ(shortDateAndTime(time_), QString::fromUtf8("9/13/20, 12:26\u202fPM"));
    EXPECT_EQ(localeIdentifier(), QStringLiteral("en_US"));
    EXPECT_EQ(localeDisplayName(localeIdentifier()), QStringLiteral("English (United States)"));
    EXPECT_EQ(twoDecimals(1.073741824), QStringLiteral("1.07"));
    EXPECT_EQ(twoDecimals(499.999999999), QStringLiteral("500.00"));
    EXPECT_EQ(twoDecimals(12345.5), QStringLiteral("12345.50"));
    EXPECT_EQ(twoDecimals(2.675), QStringLiteral("2.67"));
    EXPECT_THAT(calls("CFLocaleCopyCurrent"), ElementsAre("CFLocaleCopyCurrent"));
}

TEST_F(LocaleOnMac, German) {
    use("de_DE");
    EXPECT_EQ(shortDateAndTime(time_), QStringLiteral("13.09.20, 12:26"));
    EXPECT_EQ(localeDisplayName(localeIdentifier()), QStringLiteral("Deutsch (Deutschland)"));
    EXPECT_EQ(twoDecimals(1.07), QStringLiteral("1,07"));
}

TEST_F(LocaleOnMac, LanguagesAreTheUsersInTheirOrder) {
    macbox::set("languages", "zh-Hant-TW de_DE en-US fr");
    EXPECT_EQ(preferredLanguages().join(u' '), QStringLiteral("zh-Hant-TW zh-TW zh-Hant zh de-DE de en-US en"));
}

} // namespace
