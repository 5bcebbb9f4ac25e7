// Small pictures of what effects do, made in the background.
#pragma once

#include <QImage>
#include <QObject>
#include <QThreadPool>
#include <atomic>
#include <functional>
#include <memory>
#include <vector>

#include "host/module.h"

namespace larkmoor {

/// One picture to be made: an effect with a record over the small source picture.
struct ThumbnailJob {
    const EffectInfo* info;
    std::vector<std::byte> record;
    std::function<void(QImage)> done; ///< on the GUI thread
};

class Thumbnails : public QObject {
    Q_OBJECT

  public:
    static constexpr int kWidth = 144; ///< pixels

    explicit Thumbnails(Module module, QObject* parent = nullptr);
    ~Thumbnails() override;

    /// Lays aside what is still to be made for this group and makes these instead.
    void make(int group, const Surface& picture, std::vector<ThumbnailJob> jobs);

  private:
    static constexpr int kGroups = 2;
    Module m_module;
    QThreadPool m_pool;
    std::shared_ptr<std::atomic<int>> m_turns[kGroups];
};

/// A picture of that width, height in proportion, premultiplied bytes.
Surface reduced(const Surface& picture, int width);

} // namespace larkmoor
