#include "thumbnails.h"

#include <QMetaObject>

#include "preview.h"
#include "widgets/picture_view.h"

namespace larkmoor {

namespace {

/// A surface with an image's pixels.
Surface surfaceOf(const QImage& image) {
    const QImage pixels = image.convertToFormat(QImage::Format_ARGB32_Premultiplied);
    Surface made = Surface::create(PixelFormat::PremultipliedArgb32, pixels.width(), pixels.height());
    const ImageView view = made.view();
    for (int y = 0; y < view.height; ++y)
        std::memcpy(view.data + y * view.stride, pixels.constScanLine(y), static_cast<std::size_t>(view.width) * 4);
    return made;
}

} // namespace

Surface reduced(const Surface& picture, int width) {
    const QImage image = imageOf(picture);
    if (image.isNull()) return {};
    Surface small = surfaceOf(image.scaledToWidth(std::min(width, image.width()), Qt::SmoothTransformation));
    small.setInfo(picture.info());
    return small;
}

Thumbnails::Thumbnails(Module module, QObject* parent) : QObject(parent), m_module(std::move(module)) {
    m_pool.setMaxThreadCount(1); // the frame that is looked at goes first
    for (auto& turn : m_turns) turn = std::make_shared<std::atomic<int>>(0);
}

Thumbnails::~Thumbnails() {
    for (auto& turn : m_turns) ++*turn;
    m_pool.waitForDone();
}

void Thumbnails::make(int group, const Surface& picture, std::vector<ThumbnailJob> jobs) {
    const auto turn = m_turns[group];
    const int mine = ++*turn;
    if (!picture || jobs.empty()) return;
    m_pool.start([this, picture, jobs = std::move(jobs), turn, mine] {
        const Surface small = reduced(picture, kWidth);
        const double scale = static_cast<double>(small.view().width) / picture.view().width;
        const Surface mirrored = surfaceOf(imageOf(small).mirrored(true, false)); // what transitions go to
        for (const ThumbnailJob& job : jobs) {
            if (*turn != mine) return;
            QImage image;
            try {
                image = imageOf(thumbnail(m_module, *job.info, job.record, small, scale, mirrored)).copy();
            } catch (const std::exception&) {
                continue; // the list shows an empty frame
            }
            QMetaObject::invokeMethod(this, [done = job.done, image, turn, mine] {
                if (*turn == mine) done(image);
            });
        }
    });
}

} // namespace larkmoor
