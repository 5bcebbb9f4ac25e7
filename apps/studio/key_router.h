// Who gets a key: the field that is typed into, the page, or the window.
#pragma once

#include <functional>
#include <map>

#include <QObject>

class QAbstractButton;
class QKeyEvent;
class QMainWindow;
class QWidget;

namespace larkmoor {

class PageView;

/// Keys of editing belong to the field that has the focus, those of the film to the window wherever no text is typed.
/// An Alt key goes to the page while the focus is in it, then to the menus, then to what stands around.
class KeyRouter : public QObject {
  public:
    using Deed = std::function<void()>;

    KeyRouter(QMainWindow& window, std::function<PageView*()> page);

    /// Single keys, without modifiers.
    void setFilmKeys(std::map<int, Deed> keys) { m_film = std::move(keys); }

    /// Whether a widget takes typed text.
    static bool takesText(const QWidget* widget);
    /// Whether a key that windows have shortcuts with is for editing texts. Letters by themselves are no shortcuts.
    static bool isEditing(const QKeyEvent& event);

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    Deed mnemonic(const QWidget& focus, QChar letter) const;

    QMainWindow& m_window;
    std::function<PageView*()> m_page;
    std::map<int, Deed> m_film;
};

/// The letter after `&` in upper case; null for none.
QChar mnemonicOf(const QString& text);

} // namespace larkmoor
