#include "exporter.h"

#include <QMetaObject>

#include "text.h"

namespace larkmoor {

Exporter::Exporter(Module module, QObject* parent) : QObject(parent), m_module(std::move(module)) {}

Exporter::~Exporter() {
    cancel();
    if (m_thread.joinable()) m_thread.join();
}

void Exporter::start(Document::Snapshot project, const OutputRequest& output) {
    if (m_running) return;
    if (m_thread.joinable()) m_thread.join();
    m_running = true;
    m_cancelled = false;
    m_thread = std::thread([this, project = std::move(project), output] {
        QString sentence;
        bool done = false;
        try {
            const Watch watch{
                .progress = [this](std::int64_t count,
                                   std::optional<std::int64_t> total) { emit progress(count, total.value_or(-1)); },
                .cancelled = [this] { return m_cancelled.load(); },
                .damage = [&](const std::string& told) { sentence += (sentence.isEmpty() ? "" : "\n") + text(told); }};
            done = renderProject(m_module, *project, output, watch) != Ended::Cancelled;
        } catch (const std::exception& error) {
            sentence = QString::fromStdString(error.what());
        }
        QMetaObject::invokeMethod(this, [this, done, sentence] {
            m_running = false;
            emit finished(done, sentence);
        });
    });
}

} // namespace larkmoor
