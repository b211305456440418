#include "platform/posix/languages.h"

#include "posix/NoDestructor.h"

#include <QLocale>
#include <QRegularExpression>

namespace kyb {
namespace {

QRegularExpressionMatch piecesOf(const QString &tag) {
    static NoDestructor<QRegularExpression> form(
        QStringLiteral("^([a-z]{2,8})(?:[-_]([a-z]{4}))?(?:[-_]([a-z]{2}|[0-9]{3}))?(?:[-_].*)?$"),
        QRegularExpression::CaseInsensitiveOption);
    return (*form).match(tag);
}

/// The script of \p tag: the one that it names, else the one that the language has in the region. Empty where that is
/// Latin, and Latin is what the language is written in anywhere: "de-Latn" is just "de".
QString scriptOf(const QString &tag, const QString &language, const QString &named) {
    if (!named.isEmpty()) {
        return named.at(0).toUpper() + named.sliced(1).toLower();
    }
    const QLocale::Script script = QLocale(tag).script();
    const bool goesWithoutSaying = script == QLocale::LatinScript && QLocale(language).script() == QLocale::LatinScript;
    return goesWithoutSaying ? QString() : QLocale::scriptToCode(script);
}

/// The names of \p tag, the most special first: "zh-Hant-TW", "zh-TW", "zh-Hant", "zh".
/// NB: `QLocale::uiLanguages` of Qt 6.4 does not serve: it never names "zh-Hant" alone, does not go on from "de-AT" to
/// "de", adds regions that nobody asked for, and knows only languages that it has data for.
QStringList namesOf(const QString &tag) {
    const QRegularExpressionMatch pieces = piecesOf(tag);
    if (!pieces.hasMatch()) {
        return {};
    }
    const QString language = pieces.captured(1).toLower();
    const QString script = scriptOf(tag, language, pieces.captured(2));
    const QString region = pieces.captured(3).toUpper();
    QStringList names;
    for (const QStringList &rest : {QStringList{script, region}, {region}, {script}, {}}) {
        if (!rest.contains(QString())) {
            names << (QStringList{language} + rest).join(u'-');
        }
    }
    return names;
}

} // namespace

QStringList tableLanguages(const QStringList &tags) {
    const QString english = QStringLiteral("en");
    QStringList names;
    for (const QString &tag : tags + QStringList{english}) {
        names += namesOf(tag);
    }
    names.removeDuplicates();
    return names.first(names.indexOf(english) + 1); // every text is there in English: what follows is never asked for
}

} // namespace kyb
