#include "support/strings.h"

#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "platform/threads.h"

namespace {

struct tCachedRow {
    HANDLE module;
    UINT id;
    std::unique_ptr<const std::string> text; ///< on its own, so that it stays where it is when the cache grows

    std::tuple<std::uintptr_t, UINT> Key() const { return {reinterpret_cast<std::uintptr_t>(module), id}; }
};

struct tCache {
    CMutex lock;
    std::vector<tCachedRow> rows; ///< by key
    tStringLoader loader = nullptr;
    void* context = nullptr;
};

constinit tCache g_cache;

} // namespace

void SetStringLoader(tStringLoader loader, void* context) noexcept {
    const CHeld guard(g_cache.lock);
    g_cache.loader = loader;
    g_cache.context = context;
}

const char* GetResourceString(HANDLE module, UINT id) noexcept {
    const char* const own = module ? "" : KwString(id);
    try {
        const CHeld guard(g_cache.lock);
        tCachedRow row{module, id, nullptr};
        const auto place = std::ranges::lower_bound(g_cache.rows, row.Key(), {}, &tCachedRow::Key);
        if (place != g_cache.rows.end() && place->Key() == row.Key()) return place->text->c_str();
        const char* const loaded = g_cache.loader ? g_cache.loader(g_cache.context, module, id) : nullptr;
        if (!loaded) return own;
        row.text = std::make_unique<const std::string>(loaded);
        return g_cache.rows.insert(place, std::move(row))->text->c_str();
    } catch (...) {
        return own;
    }
}
