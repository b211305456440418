#include "text/rich_text_fonts.h"

#include <gtest/gtest.h>

namespace kyb {
namespace {

struct Row {
    const char *name;
    QStringList families;
    const char *style = "";
};

TEST(RichTextFonts, TellFamilyWeightAndSlantOfAName) {
    const Row rows[] = {
        {"", {}},
        {"Helvetica", {u"Helvetica"_qs}},
        {"Helvetica-Bold", {u"Helvetica"_qs}, "bold"},
        {"Helvetica-Oblique", {u"Helvetica"_qs}, "italic"},
        {"Helvetica-BoldOblique", {u"Helvetica"_qs}, "bold italic"},
        {"Helvetica-Light", {u"Helvetica"_qs}},
        {"Times-Roman", {u"Times"_qs}},
        {"Times-BoldItalic", {u"Times"_qs}, "bold italic"},
        {"Menlo-Regular", {u"Menlo"_qs}},
        {"ArialMT", {u"ArialMT"_qs, u"Arial MT"_qs, u"Arial"_qs}},
        {"Arial-BoldMT", {u"Arial"_qs}, "bold"},
        {"Arial-BoldItalicMT", {u"Arial"_qs}, "bold italic"},
        {"TimesNewRomanPSMT", {u"TimesNewRomanPSMT"_qs, u"Times New Roman PSMT"_qs, u"Times New Roman"_qs}},
        {"TimesNewRomanPS-BoldMT", {u"TimesNewRomanPS"_qs, u"Times New Roman PS"_qs, u"Times New Roman"_qs}, "bold"},
        {"CourierNewPS-ItalicMT", {u"CourierNewPS"_qs, u"Courier New PS"_qs, u"Courier New"_qs}, "italic"},
        {"HelveticaNeue", {u"HelveticaNeue"_qs, u"Helvetica Neue"_qs}},
        {"HelveticaNeue-CondensedBold", {u"HelveticaNeue"_qs, u"Helvetica Neue"_qs}, "bold"},
        {"HelveticaNeue-UltraLightItalic", {u"HelveticaNeue"_qs, u"Helvetica Neue"_qs}, "italic"},
        {"AvenirNext-DemiBoldItalic", {u"AvenirNext"_qs, u"Avenir Next"_qs}, "bold italic"},
        {"PTSans-Narrow", {u"PTSans"_qs, u"PT Sans"_qs}},
        {"TrebuchetMS", {u"TrebuchetMS"_qs, u"Trebuchet MS"_qs}},
        {"SourceSansPro-SemiboldIt", {u"SourceSansPro"_qs, u"Source Sans Pro"_qs}, "bold italic"},
        {"Gill Sans MT", {u"Gill Sans MT"_qs}}, // as the system names it, and so no other
        {"Arial-Bold Narrow", {u"Arial-Bold Narrow"_qs}},
        {"Foo-Bar", {u"Foo-Bar"_qs}},
        {"Foo-", {u"Foo-"_qs}},
        {"-Bold", {u"-Bold"_qs}},
        {"\u660E\u671D", {u"\u660E\u671D"_qs}},
    };
    for (const Row &row : rows) {
        const RichTextFace face = faceOfFontName(QString::fromUtf8(row.name));
        EXPECT_EQ(face.families, row.families) << row.name << ": " << face.families.join(u", ").toStdString();
        EXPECT_EQ(face.bold, QByteArray(row.style).contains("bold")) << row.name;
        EXPECT_EQ(face.italic, QByteArray(row.style).contains("italic")) << row.name;
    }
}

TEST(RichTextFonts, KnowTheWordsOfStyles) {
    const QStringList bold{u"Black"_qs, u"Bold"_qs, u"Demi"_qs, u"Demibold"_qs, u"Heavy"_qs, u"Semibold"_qs};
    const QStringList italic{u"Inclined"_qs, u"It"_qs, u"Italic"_qs, u"Oblique"_qs};
    const QStringList plain{u"Book"_qs, u"Cond"_qs,   u"Condensed"_qs, u"Extra"_qs,   u"Light"_qs,
                            u"MT"_qs,   u"Medium"_qs, u"Narrow"_qs,    u"Regular"_qs, u"Roman"_qs,
                            u"Semi"_qs, u"Thin"_qs,   u"Ultra"_qs};
    for (const QString &word : bold + italic + plain) {
        const RichTextFace face = faceOfFontName(u"Family-"_qs + word);
        EXPECT_EQ(face.families, QStringList{u"Family"_qs}) << word.toStdString();
        EXPECT_EQ(face.bold, bold.contains(word)) << word.toStdString();
        EXPECT_EQ(face.italic, italic.contains(word)) << word.toStdString();
    }
}

} // namespace
} // namespace kyb
