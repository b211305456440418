#pragma once

#include <QByteArrayView>
#include <QString>

namespace kyb {

/// The text that \p bytes spell in a code page, numbered as Windows numbers them: 1252, 932, 10000 for Mac Roman, 65001
/// for UTF-8. A character may have several bytes, so \p bytes should not end within one.
///
/// ASCII stays what it is (of its controls some may change places), unless it is the later byte of a character. What
/// spells nothing gives U+FFFD: a byte that the page leaves free, a first byte without its later ones (with the ASCII
/// byte that follows it, if it could be one of them), and every byte beyond ASCII in a page that the machine does not
/// know or that is not built upon ASCII. The text holds no control character beyond ASCII's.
///
/// Any thread. Never fails. Takes time in proportion to the bytes.
QString fromCodePage(int number, QByteArrayView bytes);

} // namespace kyb
