#include "preview_feed.h"

namespace larkmoor {

PreviewFeed::PreviewFeed(const Module& module, QObject* parent)
    : QObject(parent), m_renderer(std::make_unique<PreviewRenderer>(module, [this](const PreviewResult& result) {
          QMetaObject::invokeMethod(
              this, [this, result] { tell(result); }, Qt::QueuedConnection);
      })) {}

void PreviewFeed::request(Document::Snapshot project, qint64 frame, bool half) {
    m_asked = m_renderer->request(std::move(project), frame, {.half = half, .wantBefore = true});
}

void PreviewFeed::tell(const PreviewResult& result) {
    if (result.request <= m_told) return;
    m_told = result.request;
    if (result.error.empty())
        emit rendered(result);
    else
        emit failed(QString::fromStdString(result.error));
}

} // namespace larkmoor
