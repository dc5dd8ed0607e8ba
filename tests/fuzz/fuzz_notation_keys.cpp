// The key language on any song name: parsing never fails, and the keys
// parsed stand for the text again, character for character (a lone "%" at
// the end stands for nothing).
#include "notation/notation_driver.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const QString text = QString::fromUtf8(reinterpret_cast<const char*>(data), qsizetype(size));
    QString back;
    for (const mv::NotationKey& k : mv::parseNotationKeys(text)) {
        if (k.kind == mv::NotationKey::Enter)
            back += u'~';
        else if (k.kind == mv::NotationKey::Alt)
            back += u'%' + k.text;
        else
            back += k.text;
        if (k.kind == mv::NotationKey::Alt && k.text.size() != 1) std::abort();
        if (k.kind == mv::NotationKey::Text && k.text.isEmpty()) std::abort();
    }
    QString want = text;
    // An odd run of "%" at the end leaves the last one over.
    qsizetype marks = 0;
    for (qsizetype i = 0; i < text.size(); ++i)
        if (text.at(i) == u'%' && i + 1 == text.size() && marks % 2 == 0)
            want.chop(1);
        else
            marks = text.at(i) == u'%' ? marks + 1 : 0;
    if (back != want) std::abort();
    return 0;
}
