#pragma once
// The number of the failure `fn` raises, or 0 when it raises none.
#include "core/values.h"

#include <functional>

inline int failureNumber(const std::function<void()>& fn) {
    try {
        fn();
    } catch (const mv::Failure& f) {
        return f.number();
    }
    return 0;
}
