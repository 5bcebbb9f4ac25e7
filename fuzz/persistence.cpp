// What is saved comes back to the byte; damaged streams give a status and leave an object that works.
#include <cstddef>

#include "generators/text.h"
#include "target.h"

using namespace larkmoor;
using namespace larkmoor::fuzz;

namespace {

/// A record with a text may have been given without the mark by which its state is known from the older form.
bool isUnmarkedText(const Subject& subject, const Bytes& state) {
    const auto told = subject.face<IKwParamInfo>();
    tFieldInfo field{};
    for (LONG i = 0; told->GetField(i, &field, sizeof field) == S_OK; ++i)
        if (field.kind == KWFIELD_TEXT)
            return state.size() < kTextFixedBytes || std::memcmp(state.data() + offsetof(tTEXTPROP, signature),
                                                                 kTextSignature, sizeof kTextSignature) != 0;
    return false;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider in(data, size);
    const Row& row = pickEffect(in);
    const Subject subject(module(), row.clsid), other(module(), row.clsid);
    const auto persist = subject.face<IPersistStreamInit>(), otherPersist = other.face<IPersistStreamInit>();
    const auto ramp = subject.face<IKwParamRamp>();
    if (!persist || !ramp) return 0;
    const int way = in.ConsumeIntegralInRange(0, 3);
    const double position = number(in, 0, 1);
    const Bytes content = in.ConsumeBool() ? recordByFields(subject, in) : bytes(in, 4096);
    const auto stream = createMemoryStream(content);
    if (way == 0) persist->Load(stream.Get());
    if (way == 1) ramp->LoadParams(stream.Get());
    if (way == 2) ramp->SetRampRecords(stream.Get(), createMemoryStream(content).Get());
    if (way == 3)
        ramp->Interpolate(createMemoryStream().Get(), stream.Get(), createMemoryStream(content).Get(), position);
    ramp->SetRampPos(position);

    const auto saved = createMemoryStream(), again = createMemoryStream();
    std::uint64_t most = 0;
    require(persist->Save(saved.Get(), TRUE) == S_OK);
    const Bytes state = streamContent(saved.Get());
    require(persist->GetSizeMax(&most) == S_OK && most >= state.size());
    const HRESULT loaded = otherPersist->Load(createMemoryStream(state).Get());
    if (isUnmarkedText(subject, state)) return 0;
    require(loaded == S_OK);
    require(otherPersist->Save(again.Get(), TRUE) == S_OK);
    require(streamContent(again.Get()) == state);
    return 0;
}
