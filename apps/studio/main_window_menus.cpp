#include "main_window.h"

#include <QActionGroup>
#include <QLabel>
#include <QMenuBar>
#include <QMessageBox>
#include <QPushButton>
#include <QVBoxLayout>

#include "text.h"
#include "theme.h"

namespace larkmoor {

void MainWindow::makeWelcome() {
    m_welcome = new QWidget;
    auto* const heading = new QLabel(tr("Larkmoor"));
    QFont large = heading->font();
    large.setPointSizeF(large.pointSizeF() * 2);
    large.setBold(true);
    heading->setFont(large);
    auto* const what = new QLabel(tr("Drop a clip, a picture or a project here, or begin with one of these:"));
    auto* const layout = new QVBoxLayout;
    layout->addWidget(heading);
    layout->addWidget(what);
    const auto choice = [&](const QString& label, const std::function<void()>& act) {
        auto* const made = new QPushButton(label);
        made->setMinimumWidth(360);
        made->setAutoDefault(true); // Enter presses the one with the focus
        connect(made, &QPushButton::clicked, this, act);
        layout->addWidget(made);
        return made;
    };
    choice(tr("&Open a clip or picture…"), [this] { askOpen(); })->setObjectName("open");
    choice(tr("Open an image &sequence…"), [this] { askSequence(); });
    choice(tr("Begin with a &generator…"), [this] { askGenerator(); });
    choice(tr("Open the &demonstration clip"), [this] { openDemonstration(); })->setObjectName("demonstration");
    auto* const then =
        new QLabel(tr("Then choose effects from the list at the left. Their settings stand at the right,\n"
                      "the film below the picture, and File > Export writes the result."));
    layout->addSpacing(12);
    layout->addWidget(then);
    auto* const centred = new QVBoxLayout(m_welcome);
    centred->addStretch();
    auto* const row = new QHBoxLayout;
    row->addStretch();
    row->addLayout(layout);
    row->addStretch();
    centred->addLayout(row);
    centred->addStretch();
}

QAction* MainWindow::add(QMenu* menu, const QString& label, const QKeySequence& keys,
                         const std::function<void()>& act) {
    QAction* const action = menu->addAction(label, this, act);
    action->setShortcut(keys);
    return action;
}

void MainWindow::makeMenus() {
    const auto needs = [this](QAction* action) {
        m_needsProject.push_back(action);
        return action;
    };
    QMenu* const file = menuBar()->addMenu(tr("&File"));
    add(file, tr("&Open…"), QKeySequence::Open, [this] { askOpen(); });
    add(file, tr("Open image &sequence…"), {}, [this] { askSequence(); });
    m_recent = file->addMenu(tr("Open &recent"));
    add(file, tr("New from a &generator…"), QKeySequence::New, [this] { askGenerator(); });
    add(file, tr("Open the &demonstration clip"), {}, [this] { openDemonstration(); });
    file->addSeparator();
    needs(add(file, tr("Add a second &clip…"), {}, [this] { askSecond(); }));
    needs(add(file, tr("Re&place the clip…"), {}, [this] { askReplace(); }));
    needs(add(file, tr("So&urce settings…"), {}, [this] { askSource(); }));
    file->addSeparator();
    needs(add(file, tr("&Save project"), QKeySequence::Save, [this] { save(); }));
    needs(add(file, tr("Save project &as…"), QKeySequence(tr("Ctrl+Shift+S")), [this] { saveAs(); }));
    needs(add(file, tr("&Export…"), QKeySequence(tr("Ctrl+E")), [this] { exportFilm(); }));
    needs(add(file, tr("Save this &frame…"), QKeySequence(tr("Ctrl+Shift+E")), [this] { saveFrame(); }));
    file->addSeparator();
    needs(add(file, tr("&Close"), QKeySequence::Close, [this] {
        if (mayLeave()) m_document.close();
    }));
    add(file, tr("&Quit"), QKeySequence::Quit, [this] { close(); });

    QMenu* const edit = menuBar()->addMenu(tr("&Edit"));
    QAction* const undo = m_document.history().createUndoAction(this, tr("&Undo"));
    QAction* const redo = m_document.history().createRedoAction(this, tr("&Redo"));
    undo->setShortcut(QKeySequence::Undo);
    redo->setShortcut(QKeySequence::Redo);
    edit->addActions({undo, redo});
    edit->addSeparator();
    needs(add(edit, tr("&Add an effect"), QKeySequence(tr("Ctrl+F")), [this] { searchEffects(); }));
    needs(add(edit, tr("&Duplicate the effect"), QKeySequence(tr("Ctrl+D")), [this] { m_stack->duplicateSelected(); }));
    needs(
        add(edit, tr("Re&move the effect"), QKeySequence(tr("Ctrl+Backspace")), [this] { m_stack->removeSelected(); }));
    needs(
        add(edit, tr("Move the effect u&p"), QKeySequence(tr("Ctrl+Shift+Up")), [this] { m_stack->moveSelected(-1); }));
    needs(add(edit, tr("Move the effect do&wn"), QKeySequence(tr("Ctrl+Shift+Down")),
              [this] { m_stack->moveSelected(1); }));

    QMenu* const view = menuBar()->addMenu(tr("&View"));
    add(view, tr("&Fit"), QKeySequence(tr("Ctrl+0")), [this] { m_picture->setFit(); });
    add(view, tr("&Actual size"), QKeySequence(tr("Ctrl+1")), [this] { m_picture->setZoom(1); });
    add(view, tr("Zoom &in"), QKeySequence::ZoomIn, [this] { m_picture->zoomIn(); });
    add(view, tr("Zoom &out"), QKeySequence::ZoomOut, [this] { m_picture->zoomOut(); });
    view->addSeparator();
    const auto group = [this](QMenu* menu,
                              const std::vector<std::tuple<QString, QKeySequence, std::function<void()>>>& rows,
                              int current) {
        auto* const actions = new QActionGroup(this);
        for (int i = 0; const auto& [label, keys, act] : rows) {
            QAction* const action = add(menu, label, keys, act);
            action->setCheckable(true);
            action->setChecked(i++ == current);
            actions->addAction(action);
        }
    };
    group(view,
          {{tr("Af&ter"), QKeySequence(tr("F5")), [this] { m_picture->setMode(PictureView::Mode::After); }},
           {tr("&Before"), QKeySequence(tr("F6")), [this] { m_picture->setMode(PictureView::Mode::Before); }},
           {tr("Before and after, &split"), QKeySequence(tr("F7")),
            [this] { m_picture->setMode(PictureView::Mode::Split); }}},
          0);
    view->addSeparator();
    const auto toggle = [this](QMenu* menu, const QString& label, const QKeySequence& keys,
                               const std::function<void(bool)>& act) {
        QAction* const action = menu->addAction(label);
        action->setCheckable(true);
        action->setShortcut(keys);
        connect(action, &QAction::toggled, this, act);
    };
    toggle(view, tr("A&lpha"), QKeySequence(tr("F8")), [this](bool on) { m_picture->setAlphaView(on); });
    toggle(view, tr("Title-safe f&rames"), QKeySequence(tr("F9")), [this](bool on) { m_picture->setSafeFrames(on); });
    QMenu* const scope = view->addMenu(tr("S&cope"));
    using Kind = ScopeView::Kind;
    const auto showScope = [this](Kind kind) {
        return [this, kind] {
            m_scope->setVisible(true);
            m_scope->setKind(kind);
        };
    };
    group(scope,
          {{tr("&Histogram"), QKeySequence(tr("Alt+1")), showScope(Kind::Histogram)},
           {tr("&Waveform"), QKeySequence(tr("Alt+2")), showScope(Kind::Waveform)},
           {tr("&Composite waveform"), QKeySequence(tr("Alt+3")), showScope(Kind::Composite)},
           {tr("&Vectorscope"), QKeySequence(tr("Alt+4")), showScope(Kind::Vectorscope)},
           {tr("&None"), QKeySequence(tr("Alt+0")), [this] { m_scope->setVisible(false); }}},
          1);
    QMenu* const theme = view->addMenu(tr("T&heme"));
    const QString now = chosenTheme();
    group(theme,
          {{tr("As the &desktop"), {}, [] { chooseTheme("system"); }},
           {tr("&Light"), {}, [] { chooseTheme("light"); }},
           {tr("Dar&k"), {}, [] { chooseTheme("dark"); }}},
          now == "light"  ? 1
          : now == "dark" ? 2
                          : 0);

    QMenu* const film = menuBar()->addMenu(tr("F&ilm"));
    needs(add(film, tr("&Play or pause"), QKeySequence(tr("Ctrl+Space")), [this] { play(!m_player.isActive()); }));
    needs(add(film, tr("&Next frame"), QKeySequence(tr("Alt+Right")), [this] { setFrame(m_frame + 1); }));
    needs(add(film, tr("Pre&vious frame"), QKeySequence(tr("Alt+Left")), [this] { setFrame(m_frame - 1); }));
    needs(add(film, tr("&First frame"), QKeySequence(tr("Alt+Home")), [this] { setFrame(m_timeline->inOut().from); }));
    needs(add(film, tr("&Last frame"), QKeySequence(tr("Alt+End")), [this] { setFrame(m_timeline->inOut().to); }));
    film->addSeparator();
    needs(add(film, tr("Set &in point"), QKeySequence(tr("Ctrl+I")), [this] { emit m_transport->inRequested(); }));
    needs(add(film, tr("Set &out point"), QKeySequence(tr("Ctrl+Shift+O")),
              [this] { emit m_transport->outRequested(); }));

    QMenu* const help = menuBar()->addMenu(tr("&Help"));
    add(help, tr("&Keyboard"), QKeySequence::HelpContents, [this] { showShortcuts(); });
    add(help, tr("&About"), {}, [this] {
        QMessageBox::about(this, tr("About"),
                           tr("Larkmoor studio %1\n\n%2 video effects for stills and clips.")
                               .arg(LARKMOOR_VERSION)
                               .arg(m_module.effects().size()));
    });
}

void MainWindow::fillEffects() {
    std::vector<EffectEntry> entries;
    for (const EffectInfo& info : m_module.effects())
        entries.push_back({text(info.name),
                           info.kind == EffectKind::Filter       ? tr("Filter")
                           : info.kind == EffectKind::Transition ? tr("Transition")
                                                                 : tr("Generator"),
                           text(info.className),
                           {}});
    // Filters first; a bracket ahead of a name does not count.
    const auto order = [filter = tr("Filter")](const EffectEntry& entry) {
        return std::pair(entry.kind != filter, QString(entry.name).remove('('));
    };
    std::ranges::sort(entries, {}, order);
    m_effects->setEntries(entries);
}

void MainWindow::showShortcuts() {
    QString rows;
    for (const QAction* action : findChildren<QAction*>())
        if (!action->shortcut().isEmpty())
            rows += "<tr><td>" + action->text().remove('&').toHtmlEscaped() + "</td><td>&nbsp;&nbsp;" +
                    action->shortcut().toString(QKeySequence::NativeText).toHtmlEscaped() + "</td></tr>";
    rows += tr("<tr><td colspan=2><br>In the picture: space plays, + and - zoom, [ and ] move the split.<br>"
               "In the timeline: arrows step, I and O set the in and out points, [ and ] the ends of the ramp.<br>"
               "On a slider: a double-click on its thumb returns to the default, Escape takes a drag back.</td></tr>");
    QMessageBox box(QMessageBox::NoIcon, tr("Keyboard"), "<table>" + rows + "</table>", QMessageBox::Ok, this);
    box.exec();
}

} // namespace larkmoor
