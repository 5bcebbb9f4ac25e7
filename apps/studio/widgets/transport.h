// The bar with the buttons that move through the frames.
#pragma once

#include <QComboBox>
#include <QLabel>
#include <QToolButton>
#include <QWidget>
#include <functional>
#include <vector>

namespace larkmoor {

/// A way to write times, as people choose it.
struct TimeFormatChoice {
    int id;
    QString name;
};

/// The module's time formats by number, without those that are the same for a clip or only for programs.
std::vector<TimeFormatChoice> clipTimeFormats();

/// Knows nothing of clips: it shows what it is told, and its signals say what people ask for. A button's state does not
/// change the playing; `setPlaying` has to answer.
class Transport : public QWidget {
    Q_OBJECT

  public:
    /// Text of a frame in a time format.
    using Formatter = std::function<QString(qint64 frame, int format)>;

    explicit Transport(QWidget* parent = nullptr);

    void setFrame(qint64 frame);
    void setFrameCount(qint64 count); ///< none disables the buttons
    void setPlaying(bool playing);
    void setLoop(bool loop);

    void setFormatter(Formatter formatter);
    void setTimeFormats(const std::vector<TimeFormatChoice>& formats, int current);
    void setTimeFormat(int id);
    int timeFormat() const { return m_formats->currentData().toInt(); }

    bool isPlaying() const { return m_playing; }
    QString timeText() const { return m_time->text(); }

    enum class Button { First, Back, Play, Forward, Last, Loop, In, Out };
    QToolButton* button(Button which) const { return m_buttons[static_cast<std::size_t>(which)]; }

  signals:
    void firstRequested();
    void backRequested();
    void playRequested(bool play);
    void forwardRequested();
    void lastRequested();
    void loopChanged(bool loop);
    void inRequested();
    void outRequested();
    void timeFormatChanged(int id);

  private:
    void showTime();
    void showPlay();

    std::vector<QToolButton*> m_buttons;
    QLabel* m_time;
    QComboBox* m_formats;
    Formatter m_formatter;
    qint64 m_frame = 0, m_count = 0;
    bool m_playing = false;
};

} // namespace larkmoor
