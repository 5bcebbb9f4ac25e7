// One scope on the screen.
#pragma once

#include <QImage>
#include <QWidget>
#include <optional>

#include "widgets/scopes.h"
#include "widgets/spoken.h"

namespace larkmoor {

/// Limits in IRE, as lines on the scopes.
struct ScopeLimits {
    double lumaMin = 0, lumaMax = 100;
    double chromaMax = 100; ///< amplitude
    double compositeMin = -20, compositeMax = 110;
    bool operator==(const ScopeLimits&) const = default;
};

/// Draws the chosen scope with a graticule. Always dark, as the screen of an instrument, under any palette. The
/// counting is done when the scope is painted, so a hidden one costs nothing.
class ScopeView : public SpokenWidget {
    Q_OBJECT

  public:
    enum class Kind { Histogram, Waveform, Composite, Vectorscope };

    explicit ScopeView(QWidget* parent = nullptr);

    void setKind(Kind kind);
    Kind kind() const { return m_kind; }

    /// The picture, which is kept until the next; an empty handle clears the scope.
    void setPicture(Surface picture);

    void setLevels(ScopeLevels levels);
    ScopeLevels levels() const { return m_levels; }

    /// What lies beyond is drawn in the warning colour. The waveform shows the luma limits, the composite waveform the
    /// composite ones, the vectorscope the largest chroma.
    void setLimits(double lumaMin, double lumaMax, double chromaMax, double compositeMin, double compositeMax);
    void clearLimits();

    /// Where an IRE level stands on the waveforms, from the widget's top.
    double yOfIre(double ire) const;

    Spoken spoken() const override;

    QSize sizeHint() const override { return {320, 240}; }
    QSize minimumSizeHint() const override { return {120, 90}; }

  protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

  private:
    void count();
    QRectF plotArea() const;
    QImage waveformTrace(const Waveform& wave);
    QImage vectorscopeTrace(const Vectorscope& scope) const;
    void paintHistogram(QPainter& painter, const QRectF& area) const;
    void paintWaveform(QPainter& painter, const QRectF& area) const;
    void paintVectorscope(QPainter& painter, const QRectF& area) const;
    void invalidate();

    Kind m_kind = Kind::Waveform;
    Surface m_picture;
    ScopeLevels m_levels;
    std::optional<ScopeLimits> m_limits;
    bool m_stale = true;
    Histogram m_histogram;
    QImage m_trace;                      ///< the density as colours, of a waveform or the vectorscope
    int m_topCode = 0, m_bottomCode = 0; ///< of a waveform's trace
};

} // namespace larkmoor
