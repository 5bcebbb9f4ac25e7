// Plays a project's sound on the desktop's device.
#pragma once

#include <QObject>
#include <memory>
#include <optional>

#include "sound_track.h"

class QAudioSink;
class QIODevice;

namespace larkmoor {

class SoundPlayer : public QObject {
    Q_OBJECT

  public:
    explicit SoundPlayer(QObject* parent = nullptr);
    ~SoundPlayer() override;

    /// Where the clips' sound is not what it was, or there is none.
    void forget();
    /// From a time of the pictures on, before any cut. What is in the way is told, once for a project, and then the
    /// film goes on silently.
    void start(const Project& project, const PictureFacts& facts, double seconds);
    /// A short piece from there, and then silence up to the next call; what is in the way is not told, for pictures are
    /// what is looked for.
    void touch(const Project& project, const PictureFacts& facts, double seconds);
    void stop();
    /// The time that is heard now; none while nothing is.
    std::optional<double> position() const;

  signals:
    void silent(QString sentence);

  private:
    QString open(const Project& project, const PictureFacts& facts, double seconds, std::optional<double> length);
    void tell(const QString& sentence);

    std::unique_ptr<SoundTrack> m_track;
    std::unique_ptr<QIODevice> m_samples;
    std::unique_ptr<QAudioSink> m_sink;
    double m_from = 0;
    bool m_told = false;
};

} // namespace larkmoor
