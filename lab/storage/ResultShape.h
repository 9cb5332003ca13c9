// What an enumeration of the store answers: normally a list, on request something else.
#pragma once

#include <string>
#include <vector>

#include "lab/storage/TypedText.h"

namespace lab {

/// The form of the answer, from the attributes result and lower of a section or an entry. Clients
/// of the component are rehearsed with answers that they must take for an empty list.
///
/// result: variants (default): VT_ARRAY|VT_VARIANT; odd: the same without its last element;
/// twice: all elements, then all again; bstr-array: VT_ARRAY|VT_BSTR; i4: a number; empty:
/// VT_EMPTY; null-array: VT_ARRAY|VT_VARIANT without an array; two-dimensional: one column. lower:
/// the first index, normally 0.
class ResultShape {
public:
    std::wstring result;
    LONG lower = 0;

    bool IsKnown() const;
    HRESULT Make(const std::vector<const TypedText*>& elements, OwnedVariant& answer) const;
};

}  // namespace lab
