#include <cstdint>
#include <span>

#include "fuzz/input.h"
#include "mrp/mrpdu.h"

namespace norvad {

namespace {

using fuzz::Require;

void CheckVector(const AttributeGetter& getter, std::span<const uint8_t> message, bool fourPacked) {
    const auto value = getter.FirstValue();
    Require(value.empty() ||
            (value.data() >= message.data() && value.data() + value.size() <= message.data() + message.size()));
    Require(getter.NumberOfValues() <= 8191);
    for (uint16_t i = 0; i < getter.NumberOfValues(); ++i) {
        Require(getter.ThreePackedEvent(i) < 6);
        if (fourPacked) Require(getter.FourPackedEvent(i) < 4);
    }
}

// Every vector takes at least its header, so a walk has an end; past it there is nothing more.
void Walk(std::span<const uint8_t> message, MessageLayout layout, bool fourPacked) {
    AttributeGetter getter(message, layout, fourPacked);
    size_t vectors = 0;
    while (getter.GetNext()) {
        Require(++vectors * sizeof(MrpVectorHeader) <= message.size());
        CheckVector(getter, message, fourPacked);
    }
    Require(getter.NumberOfValues() == 0);
    Require(!getter.GetNext());
}

}  // namespace

}  // namespace norvad

// Walks any bytes as one message, in both layouts, with and without four-packed events.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using norvad::MessageLayout;
    const norvad::test::Bytes message = norvad::test::Copy({data, size});
    for (const bool fourPacked : {false, true}) {
        norvad::Walk(message, MessageLayout::WithListLength, fourPacked);
        norvad::Walk(message, MessageLayout::WithoutListLength, fourPacked);
    }
    return 0;
}
