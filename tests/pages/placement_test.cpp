#include "pages/controls/placement.h"

#include <limits>
#include <sstream>

#include "pages/control_rig.h"

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr ULONG kPlacementEcho = 1u << 31; ///< the page writes back what it is told

tPlacementHandle Handle(double x, double y, ULONG confined = 1, ULONG selectable = 1, ULONG kind = 2) {
    tPlacementHandle handle;
    handle.x = x;
    handle.y = y;
    handle.confined = confined;
    handle.selectable = selectable;
    handle.kind = kind;
    return handle;
}

/// An area of 100 by 200 pixels from (8, 8).
struct tPlacement : CControlRig<CPlacement> {
    explicit tPlacement(ULONG style = 0) : CControlRig(style) {
        echoes = style & kPlacementEcho;
        Play("size 116,216");
    }
    tPlacementHandle At(std::uintptr_t index) {
        tPlacementHandle handle;
        EXPECT_EQ(Message(2053, index, &handle), 1);
        return handle;
    }
};

TEST(Placement, Scripts) {
    ExpectScripts("placement", [](ULONG style) { return std::make_unique<tPlacement>(style); });
}

// What the control tells beside the code: the handle after the change, and before it or where the drag began.
TEST(Placement, NoticesHoldBothRecords) {
    const struct {
        const char* script;
        std::vector<std::pair<tPlacementHandle, tPlacementHandle>> told; ///< before, after
    } rows[] = {
        {"press 58,108; move 68,128; move 108,8; release",
         {{Handle(0.5, 0.5), Handle(0.5, 0.5)},
          {Handle(0.5, 0.5), Handle(0.6, 0.6)},
          {Handle(0.5, 0.5), Handle(1, 0)},
          {Handle(1, 0), Handle(1, 0)}}},
        {"press 58,108; move 68,108; key escape",
         {{Handle(0.5, 0.5), Handle(0.5, 0.5)},
          {Handle(0.5, 0.5), Handle(0.6, 0.5)},
          {Handle(0.6, 0.5), Handle(0.5, 0.5)}}},
        {"key home; key down", {{Handle(0.5, 0.5), Handle(0, 0.5)}, {Handle(0, 0.5), Handle(0, 0.51)}}},
        {"double 33,58", {{Handle(0.25, 0.25), Handle(0.25, 0.25)}}},
        {"msg 2061,0,0; msg 273,2151,0", {{Handle(0.5, 0.5), Handle(0.5, 0.5)}}},
    };
    for (const auto& row : rows) {
        tPlacement p;
        p.Play(row.script);
        ASSERT_EQ(p.handles.size(), row.told.size()) << row.script;
        for (std::size_t i = 0; i < row.told.size(); ++i) {
            EXPECT_EQ(p.handles[i].before, row.told[i].first) << row.script << " " << i;
            EXPECT_EQ(p.handles[i].after, row.told[i].second) << row.script << " " << i;
        }
    }
}

TEST(Placement, AreaLeavesRoomForFrameAndHandle) {
    constexpr LONG most = std::numeric_limits<LONG>::max(), least = std::numeric_limits<LONG>::min();
    const struct {
        LONG x, y;
        RECT area;
    } rows[] = {{116, 216, {8, 8, 108, 208}},
                {17, 16, {8, 8, 9, 8}},
                {10, 1, {5, 0, 5, 0}},
                {0, -5, {0, 0, 0, 0}},
                {most, least, {8, 0, most - 8, 0}}};
    for (const auto& row : rows) {
        tPlacement p;
        p.Send(KWEVENT_SIZE, row.x, row.y);
        EXPECT_EQ(p.Detail<tPlacementDetail>().area, row.area) << row.x << 'x' << row.y;
    }
    CControlRig<CPlacement> fresh(0u);
    EXPECT_EQ(fresh.Play("size 50,50; size 60,50"), "timer2060,500 *; *") << "asks for its timer once";
    const bool lit = fresh.control.Lit();
    EXPECT_EQ(fresh.Play("timer 2060; timer 2061"), "*; no");
    EXPECT_NE(fresh.control.Lit(), lit);
}

TEST(Placement, ReplaceKeepsRecordsDrawable) {
    const struct {
        tPlacementHandle given, kept;
    } rows[] = {{Handle(0.1, 0.9, 7, 3, 4), Handle(0.1, 0.9, 7, 3, 4)},
                {Handle(0.1, 0.9, 0, 0, 5), Handle(0.1, 0.9, 0, 0, 0)},
                {Handle(0.1, 0.9, 0, 0, 0xFFFFFFFF), Handle(0.1, 0.9, 0, 0, 0)},
                {Handle(1.5, -2), Handle(1.5, -2)},
                {Handle(1e300, -1e300), Handle(1000, -1000)},
                {Handle(kNaN, -kInfinity), Handle(0.5, 0.5)}};
    tPlacement p;
    for (const auto& row : rows) {
        unsigned char bytes[sizeof row.given + 1]; // blocks need no alignment
        std::memcpy(bytes + 1, &row.given, sizeof row.given);
        EXPECT_EQ(p.Message(2052, 0, bytes + 1), 1);
        std::memset(bytes, 0, sizeof bytes);
        EXPECT_EQ(p.Message(2053, 0, bytes + 1), 1);
        EXPECT_EQ(std::memcmp(bytes + 1, &row.kept, sizeof row.kept), 0);
    }
    tPlacementHandle endless;
    std::memset(endless.label, 'x', sizeof endless.label);
    EXPECT_EQ(p.Message(2052, 0, &endless), 1);
    EXPECT_EQ(std::string(p.At(0).label), std::string(27, 'x'));
    for (const std::uintptr_t bad : {std::uintptr_t{1}, std::uintptr_t{1} << 32, ~std::uintptr_t{0}})
        for (const UINT message : {2052, 2053}) EXPECT_EQ(p.Message(message, bad, &endless), 0);
    EXPECT_TRUE(p.handles.empty());
}

TEST(Placement, MessagesTakeNullPointersAndKeepWords) {
    tPlacement p;
    for (UINT message = 2048; message < 2080; ++message)
        EXPECT_EQ(p.Message(message), message == 2050 || message == 2079) << message;
    ULONG words[3] = {1, 2, 0xFFFFFFFF}, out[3] = {}, word = 0;
    EXPECT_EQ(p.Message(2069, 0, words), 0);
    EXPECT_EQ(p.Message(2068, 0, out), 0);
    EXPECT_TRUE(std::equal(words, words + 3, out));
    EXPECT_EQ(p.Message(2079, 0xABCDEF01), 1);
    EXPECT_EQ(p.Message(2078, reinterpret_cast<std::uintptr_t>(&word)), 1);
    EXPECT_EQ(word, 0xABCDEF01);
    LONG area[2] = {-1, -1};
    EXPECT_EQ(p.control.Detail(area, 4), S_OK);
    EXPECT_EQ(area[0], 8);
    EXPECT_EQ(area[1], -1);
}

TEST(Placement, TheMenuHasReset) {
    tPageMenuItem item{};
    tPlacement p, styled(kPlacementRightPressStyle);
    EXPECT_EQ(p.control.MenuItem(0, item), S_OK);
    EXPECT_EQ(item.id, 2151);
    EXPECT_EQ(item.parent, -1);
    EXPECT_STREQ(item.text, "Reset");
    for (const LONG index : {1, -1}) EXPECT_EQ(p.control.MenuItem(index, item), E_INVALIDARG);
    EXPECT_EQ(styled.control.MenuItem(0, item), E_INVALIDARG);
}

} // namespace
