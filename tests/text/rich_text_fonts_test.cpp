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

} // namespace
} // namespace kyb
