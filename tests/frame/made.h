// Objects of the module by the names of their classes.
#pragma once

#include <algorithm>
#include <stdexcept>
#include <string>
#include <string_view>

#include "frame/effect_class.h"
#include "platform/com_ptr.h"
#include "platform/exports.h"

inline CComPtr<IUnknown> Made(std::string_view className) {
    const auto rows = KwObjectMap();
    const auto row = std::ranges::find(rows, className, &tObjectMapRow::className);
    if (row == rows.end()) throw std::invalid_argument(std::string(className));
    return CComPtr<IUnknown>::Adopt(row->create(*row, nullptr));
}
