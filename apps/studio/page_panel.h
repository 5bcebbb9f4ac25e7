// The selected effect: its settings page, its keys and its presets.
#pragma once

#include <QDoubleSpinBox>
#include <QLabel>
#include <QPointer>
#include <QPushButton>
#include <QScrollArea>
#include <QToolButton>

#include "document.h"
#include "key_editor.h"
#include "live_effect.h"
#include "page/page_view.h"
#include "preset_store.h"
#include "widgets/key_list.h"
#include "widgets/preset_strip.h"

class QMenu;

namespace larkmoor {

class PagePanel : public QWidget {
    Q_OBJECT

  public:
    PagePanel(Document& document, PresetStore presets, QWidget* parent = nullptr);
    ~PagePanel() override;

    /// Null where nothing with a page is selected.
    PageView* page() const { return m_page; }
    LiveEffect* effect() const { return m_effect.get(); }
    PresetStrip* presets() const { return m_strip; }
    /// The presets, to stand elsewhere; whoever takes it owns it.
    QWidget* presetsPanel() const { return m_presets; }
    KeyEditor& keys() { return m_keys; }
    KeyList* keyList() const { return m_keyList; }
    QPushButton* keysButton() const { return m_keysButton; }
    /// Of a transition or a generator, in seconds.
    QDoubleSpinBox* durationField() const { return m_duration; }

    /// The records behind the strip: the effect's own presets, then the user's.
    const std::vector<std::vector<std::byte>>& presetRecords() const { return m_records; }
    void setPresetThumbnail(int index, const QImage& image) { m_strip->setThumbnail(index, image); }

    /// What stands in the page's place while a clip is selected.
    void setSourceFacts(const QString& facts);
    void saveState(const QString& path);
    void loadState(const QString& path);
    void saveUserPreset(const QString& name);
    /// Back to the effect's default: all fields, or the one that a widget of the page sets.
    void resetAll();
    /// What the picture's own controls make of the record at the playhead; a drag ends with `final`.
    void setByHand(const std::vector<std::byte>& record, bool final);
    /// Asks for a color of the picture, of effects that key one out.
    QPushButton* pickButton() const { return m_pick; }
    void resetField(const QWidget* widget);
    /// Whether a widget sets a field of its own.
    bool hasField(const QWidget* widget) const { return fieldOf(widget) != nullptr; }

  signals:
    /// The user began or ended to change something step by step.
    void dragging(bool active);
    void helpWanted(int topic);
    /// The strip has other entries.
    void presetsChanged();
    void failed(QString sentence);

  private:
    void show();
    void showPage();
    void showPresets();
    void showKeys();
    void showDuration();
    void setDuration(double seconds);
    void takeRecord();
    enum class Levels { AsTheyAre, Own, ThePictures }; ///< whether a record brings levels that the user has set
    void setRecord(const QString& text, const std::vector<std::byte>& record, Levels levels = Levels::AsTheyAre);
    void showTitle();
    void choosePreset(int index);
    void askToSave();
    void presetMenu(const QPoint& position);
    void removePreset(int index);
    void attempt(const std::function<void()>& action);
    const tFieldInfo* fieldOf(const QWidget* widget) const;
    QMenu* makeMore();
    bool eventFilter(QObject* watched, QEvent* event) override;

    Document& m_document;
    KeyEditor m_keys;
    PresetStore m_user;
    const EffectInfo* m_info = nullptr;
    bool m_fresh = true; ///< nothing of this project was shown yet
    Slot m_slot;
    std::unique_ptr<LiveEffect> m_effect;
    QScrollArea* m_scroll;
    PageView* m_page = nullptr;
    QLabel *m_title, *m_durationLabel;
    QString m_facts;
    QDoubleSpinBox* m_duration;
    QPushButton *m_keysButton, *m_pick;
    KeyList* m_keyList;
    QScrollArea* m_keyScroll;
    QPointer<QWidget> m_presets;
    PresetStrip* m_strip;
    QToolButton *m_save, *m_reset, *m_more;
    std::vector<std::vector<std::byte>> m_records;
    int m_ownPresets = 0;   ///< of the effect; the user's follow
    bool m_setting = false; ///< the document's record goes to the page
    bool m_taking = false;  ///< and the other way
};

} // namespace larkmoor
