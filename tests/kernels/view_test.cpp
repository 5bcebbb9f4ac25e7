#include "kernels/view.h"

#include "kernels/picture.h"

namespace {

constexpr RECT kFrame{0, 0, 10, 8};
int g_memory[80];

tView Of(const RECT* frame, const RECT* clip) {
    return {g_memory, frame, 40, clip};
}

TEST(ResolveClip, IsTheClipInsideTheFrame) {
    const struct {
        RECT clip;
        LONG x, y, width, height;
    } rows[] = {
        {{2, 3, 7, 6}, 2, 3, 5, 3},
        {{-5, -5, 4, 4}, 0, 0, 4, 4},
        {{8, 7, INT32_MAX, INT32_MAX}, 8, 7, 2, 1},
        {{INT32_MIN, INT32_MIN, INT32_MAX, INT32_MAX}, 0, 0, 10, 8},
        {{20, 20, 30, 30}, 0, 0, 0, 0},
        {{5, 5, 5, 8}, 0, 0, 0, 0},
        {{7, 7, 2, 2}, 0, 0, 0, 0},
    };
    for (const auto& row : rows) {
        tRows out;
        ASSERT_EQ(S_OK, KwDibResolveClip(Of(&kFrame, &row.clip), 4, out));
        EXPECT_EQ(row.width, out.width);
        EXPECT_EQ(row.height, out.height);
        if (row.width) {
            EXPECT_EQ(reinterpret_cast<std::byte*>(g_memory) + row.y * 40 + row.x * 4, out.first);
        }
    }
    tRows out;
    EXPECT_EQ(S_OK, KwDibResolveClip(Of(&kFrame, nullptr), 4, out));
    EXPECT_EQ(10, out.width);
    EXPECT_EQ(E_POINTER, KwDibResolveClip(Of(nullptr, &kFrame), 4, out));
    EXPECT_EQ(E_POINTER, KwDibResolveClip({nullptr, &kFrame, 40, nullptr}, 4, out));
}

TEST(ResolveClipTwo, BringsBothToTheCommonPart) {
    const RECT big{0, 0, 20, 20};
    const struct {
        RECT destination, source;
        HRESULT status;
        RECT common; // in source coordinates
    } rows[] = {
        {{0, 0, 5, 5}, {3, 2, 8, 7}, S_OK, {3, 2, 8, 7}},
        {{0, 0, 5, 5}, {0, 0, 5, 4}, E_INVALIDARG, {}},
        {{-2, 0, 3, 5}, {4, 0, 9, 5}, S_OK, {6, 0, 9, 5}},          // the destination loses two columns on the left
        {{4, 4, 12, 10}, {10, 10, 18, 16}, S_OK, {10, 10, 16, 14}}, // and on the far side
        {{30, 0, 35, 5}, {0, 0, 5, 5}, S_OK, {}},
    };
    for (const auto& row : rows) {
        tRowPair out;
        EXPECT_EQ(row.status, KwDibResolveClipTwo(Of(&kFrame, &row.destination), Of(&big, &row.source), 4, out));
        EXPECT_EQ(row.common, out.sourceRect);
        EXPECT_EQ(out.source.width, out.destination.width);
        EXPECT_EQ(KwWidth(row.common), out.source.width);
        EXPECT_EQ(KwHeight(row.common), out.source.height);
    }
    tRowPair out;
    EXPECT_EQ(E_POINTER, KwDibResolveClipTwo(Of(nullptr, nullptr), Of(&big, nullptr), 4, out));
}

} // namespace
