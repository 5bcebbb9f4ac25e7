#include "exporter.h"

#include <QMetaObject>

#include "text.h"

namespace larkmoor {

Exporter::~Exporter() {
    cancel();
    if (m_thread.joinable()) m_thread.join();
}

void Exporter::start(Work work) {
    if (m_running) return;
    if (m_thread.joinable()) m_thread.join();
    m_running = true;
    m_cancelled = false;
    m_thread = std::thread([this, work = std::move(work)] {
        QString sentence;
        bool done = false;
        try {
            const Watch watch{
                .progress = [this](std::int64_t count,
                                   std::optional<std::int64_t> total) { emit progress(count, total.value_or(-1)); },
                .cancelled = [this] { return m_cancelled.load(); },
                .damage = [&](const std::string& told) { sentence += (sentence.isEmpty() ? "" : "\n") + text(told); }};
            done = work(watch) != Ended::Cancelled;
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
