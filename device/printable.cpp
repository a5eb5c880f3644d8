#include "device/printable.h"

namespace device {

bool isUnprintable(char16_t character) {
  return character < 0x20 || (character >= 0x7F && character <= 0x9F) || character == 0xAD || character == 0x061C ||
         (character >= 0x200B && character <= 0x200F) || (character >= 0x2028 && character <= 0x202E) ||
         (character >= 0x2060 && character <= 0x206F) || character == 0xFEFF ||
         (character >= 0xFFF9 && character <= 0xFFFB);
}

QString printable(const QString& text) {
  QString shown;
  for (int i = 0; i < text.size(); ++i) {
    const QChar letter = text[i];
    if (isUnprintable(letter.unicode())) {
      shown += QStringLiteral("\\u%1").arg(static_cast<uint>(letter.unicode()), 4, 16, QLatin1Char('0'));
    } else if (letter.isHighSurrogate() && i + 1 < text.size() && text[i + 1].isLowSurrogate()) {
      shown += letter;
      shown += text[++i];
    } else {
      shown += letter.isSurrogate() ? QChar(QChar::ReplacementCharacter) : letter;
    }
  }
  return shown;
}

}  // namespace device
