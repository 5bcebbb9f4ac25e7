// Makes a class creatable: its source says `template IUnknown* KwCreate<T>(const tObjectMapRow&, IUnknown*);`.
#pragma once

#include "frame/effect_class.h"

template <class T>
IUnknown* KwCreate(const tObjectMapRow& row, IUnknown* outer) {
    T* const object = new T(row, outer);
    return object ? object->InnerUnknown() : nullptr;
}
