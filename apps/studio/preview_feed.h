// Rendered frames on the GUI thread.
#pragma once

#include <QObject>

#include "document.h"
#include "preview.h"

namespace larkmoor {

/// Asks for frames in the background; the newest request wins.
class PreviewFeed : public QObject {
    Q_OBJECT

  public:
    explicit PreviewFeed(const Module& module, QObject* parent = nullptr);

    /// What a project's pictures are. Throws Error where its clips cannot be read. May read them through to count their
    /// frames, and throws Stopped where that is to end; any thread may ask.
    PictureFacts facts(const Project& project, const GoesOn& goesOn) { return m_renderer->facts(project, goesOn); }
    /// The clips' files have changed.
    void reopen() { m_renderer->reopen(); }
    void request(Document::Snapshot project, qint64 frame, bool half);
    /// What is on its way will not be told.
    void forget() { m_told = m_asked; }
    bool isBusy() const { return m_told < m_asked; }

  signals:
    /// With the picture before the effects, too.
    void rendered(const larkmoor::PreviewResult& result);
    void failed(QString sentence);

  private:
    void tell(const PreviewResult& result);

    std::uint64_t m_asked = 0, m_told = 0; ///< numbers of requests
    std::unique_ptr<PreviewRenderer> m_renderer;
};

} // namespace larkmoor
