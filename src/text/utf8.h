#pragma once

#include <QByteArrayView>
#include <QString>
#include <QStringDecoder>
#include <optional>

namespace kyb {

/// The text that \p bytes spell in UTF-8, without a byte order mark, or nothing when they are not valid UTF-8.
inline std::optional<QString> fromUtf8(QByteArrayView bytes) {
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    QString text = decoder(bytes);
    if (decoder.hasError()) {
        return {};
    }
    return text;
}

} // namespace kyb
