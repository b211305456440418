#include "text/rich_text_symbols.h"

#include <algorithm>
#include <iterator>
#include <string_view>

namespace kyb {
namespace {

constexpr char16_t kBullet = 0x2022;

/// Greek and mathematics. From 0x20 to 0x7E, and from 0xA0 to 0xFE.
constexpr std::u16string_view kLowerSymbols =
    u" !\u2200#\u2203%&\u220B()\u2217+,\u2212./0123456789:;<=>?\u2245"
    u"\u0391\u0392\u03A7\u0394\u0395\u03A6\u0393\u0397\u0399\u03D1\u039A\u039B\u039C"
    u"\u039D\u039F\u03A0\u0398\u03A1\u03A3\u03A4\u03A5\u03C2\u03A9\u039E\u03A8\u0396[\u2234]\u22A5_\u203E"
    u"\u03B1\u03B2\u03C7\u03B4\u03B5\u03C6\u03B3\u03B7\u03B9\u03D5\u03BA\u03BB\u03BC"
    u"\u03BD\u03BF\u03C0\u03B8\u03C1\u03C3\u03C4\u03C5\u03D6\u03C9\u03BE\u03C8\u03B6{|}\u223C";
constexpr std::u16string_view kUpperSymbols =
    u"\u20AC\u03D2\u2032\u2264\u2044\u221E\u0192\u2663\u2666\u2665\u2660\u2194\u2190\u2191\u2192\u2193"
    u"\u00B0\u00B1\u2033\u2265\u00D7\u221D\u2202\u2022\u00F7\u2260\u2261\u2248\u2026\u2502\u2500\u21B5"
    u"\u2135\u2111\u211C\u2118\u2297\u2295\u2205\u2229\u222A\u2283\u2287\u2284\u2282\u2286\u2208\u2209"
    u"\u2220\u2207\u00AE\u00A9\u2122\u220F\u221A\u22C5\u00AC\u2227\u2228\u21D4\u21D0\u21D1\u21D2\u21D3"
    u"\u25CA\u27E8\u00AE\u00A9\u2122\u2211\u239B\u239C\u239D\u23A1\u23A2\u23A3\u23A7\u23A8\u23A9\u23AA"
    u"\u2022\u27E9\u222B\u2320\u23AE\u2321\u239E\u239F\u23A0\u23A4\u23A5\u23A6\u23AB\u23AC\u23AD";
static_assert(kLowerSymbols.size() == 0x7F - 0x20 && kUpperSymbols.size() == 0xFF - 0xA0);

struct Sign {
    char byte;
    char16_t unit;
};

constexpr Sign kDingbats[] = {
    {'F', 0x261E},    {'J', 0x263A},    {'l', 0x25CF},    {'m', 0x274D},    {'n', 0x25A0},    {'o', 0x25A1},
    {'q', 0x2751},    {'r', 0x2752},    {'s', 0x2B27},    {'t', 0x29EB},    {'u', 0x25C6},    {'v', 0x2756},
    {'w', 0x2B25},    {'\x9E', 0x00B7}, {'\xA7', 0x25AA}, {'\xA8', 0x25FB}, {'\xAB', 0x2605}, {'\xD8', 0x27A2},
    {'\xDF', 0x2190}, {'\xE0', 0x2192}, {'\xE1', 0x2191}, {'\xE2', 0x2193}, {'\xE8', 0x2794}, {'\xF0', 0x21E8},
    {'\xFB', 0x2717}, {'\xFC', 0x2713}, {'\xFD', 0x2612}, {'\xFE', 0x2611},
};

char16_t symbolOf(char byte) {
    const auto lower = static_cast<std::size_t>(static_cast<uchar>(byte)) - 0x20;
    const std::size_t upper = lower - (0xA0 - 0x20);
    if (lower < kLowerSymbols.size()) {
        return kLowerSymbols[lower];
    }
    return upper < kUpperSymbols.size() ? kUpperSymbols[upper] : kBullet;
}

char16_t dingbatOf(char byte) {
    const auto *sign =
        std::find_if(std::begin(kDingbats), std::end(kDingbats), [=](const Sign &row) { return row.byte == byte; });
    return sign == std::end(kDingbats) ? kBullet : sign->unit;
}

char16_t bulletFor(char) {
    return kBullet;
}

struct SymbolFont {
    QStringView name;
    char16_t (*unitOf)(char byte);
};

constexpr SymbolFont kSymbolFonts[] = {
    {u"Symbol", symbolOf},       {u"Webdings", bulletFor},    {u"Wingdings", dingbatOf},
    {u"Wingdings 2", bulletFor}, {u"Wingdings 3", bulletFor}, {u"ZapfDingbats", bulletFor},
};

const SymbolFont *symbolFont(const QString &name) {
    const auto *font = std::find_if(std::begin(kSymbolFonts), std::end(kSymbolFonts),
                                    [&](const SymbolFont &row) { return row.name == name; });
    return font == std::end(kSymbolFonts) ? nullptr : font;
}

/// Blanks and tabs are the same in every font.
bool isSign(char byte) {
    return static_cast<uchar>(byte) > ' ';
}

} // namespace

bool isSymbolFont(const QString &name) {
    return symbolFont(name) != nullptr;
}

QString fromSymbols(const QString &name, QByteArrayView bytes) {
    const SymbolFont *font = symbolFont(name);
    QString text;
    for (const char byte : bytes) {
        text.append(font && isSign(byte) ? QChar(font->unitOf(byte)) : QLatin1Char(byte));
    }
    return text;
}

} // namespace kyb
