// Presets in a row, each with its picture.
#pragma once

#include <QImage>
#include <QListView>
#include <QStandardItemModel>

namespace larkmoor {

/// A click, Enter or Space chooses. The arrows move without choosing.
class PresetStrip : public QListView {
    Q_OBJECT

  public:
    explicit PresetStrip(QWidget* parent = nullptr);

    void setPresets(const QStringList& names);
    int count() const { return m_model->rowCount(); }
    /// The picture of preset `index`, whenever it is ready; an index out of range does nothing.
    void setThumbnail(int index, const QImage& image);
    /// The one that is in use; -1 for none. Sends no signal.
    void setCurrent(int index);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

  signals:
    void chosen(int index);

  protected:
    void keyPressEvent(QKeyEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;

  private:
    QStandardItemModel* m_model;
};

} // namespace larkmoor
