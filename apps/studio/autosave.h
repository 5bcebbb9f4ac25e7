// Work that outlives a crash.
#pragma once

#include <QLockFile>
#include <QTimer>
#include <memory>
#include <optional>

#include "document.h"

namespace larkmoor {

/// Work of a studio that did not end well.
struct LostWork {
    QString file;     ///< the project as it was
    QString original; ///< where it was saved last; empty for nowhere
};

/// Writes the document's unsaved state into a folder of the user's a moment after each change, and takes the file away
/// when the work is saved or given up. A lock tells the files of studios that run from those that were left behind.
class Autosave : public QObject {
    Q_OBJECT

  public:
    static constexpr int kDelay = 2000; ///< milliseconds from a change to the file

    /// @param folder empty for the user's own.
    explicit Autosave(Document& document, const QString& folder = {}, QObject* parent = nullptr);
    ~Autosave() override;

    /// What others left behind, newest first.
    std::vector<LostWork> lost() const;
    static void forget(const LostWork& work);

    /// Writes now what is due.
    void flush();

  signals:
    /// The work is not safe, and why.
    void failed(QString sentence);

  private:
    void due();
    void clear();

    Document& m_document;
    QString m_folder, m_file;
    std::unique_ptr<QLockFile> m_lock;
    QTimer m_timer;
};

} // namespace larkmoor
