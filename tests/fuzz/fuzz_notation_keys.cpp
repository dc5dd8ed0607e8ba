// The key language on any song name: parsing never fails; an Alt key is one
// character, a text key is not empty; the keys never stand for more
// characters than the text has, and every "~" that no "%" takes is an Enter.
#include "notation/notation_driver.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const QString text = QString::fromUtf8(reinterpret_cast<const char*>(data), qsizetype(size));
    const QList<mv::NotationKey> keys = mv::parseNotationKeys(text);
    qsizetype chars = 0, enters = 0;
    for (const mv::NotationKey& k : keys) {
        if (k.kind == mv::NotationKey::Alt && k.text.size() != 1) std::abort();
        if (k.kind == mv::NotationKey::Text && (k.text.isEmpty() || k.text.contains(u'~')))
            std::abort();
        chars += k.kind == mv::NotationKey::Enter
                     ? 1
                     : k.text.size() + (k.kind != mv::NotationKey::Text);
        enters += k.kind == mv::NotationKey::Enter;
    }
    if (chars > text.size()) std::abort();
    // With no "%" in the text, each "~" is one Enter and nothing is lost.
    if (!text.contains(u'%') && (enters != text.count(u'~') || chars != text.size())) std::abort();
    return 0;
}
