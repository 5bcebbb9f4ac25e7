// The fields of an effect, each with a diamond for its keys.
#pragma once

#include <QLabel>
#include <QToolButton>
#include <QWidget>
#include <vector>

#include "key_editor.h"

namespace larkmoor {

/// A row for each field: to the key before, the diamond (full at a key, hollow between keys), to the key behind, the
/// name, the value at the playhead. The diamond's menu has the way on from its key.
class KeyList : public QWidget {
    Q_OBJECT

  public:
    explicit KeyList(KeyEditor& keys, QWidget* parent = nullptr);

    QToolButton* diamond(const char* field) const;
    QToolButton* arrow(const char* field, int direction) const;

  private:
    struct Row {
        const tFieldInfo* field;
        QToolButton *before, *diamond, *behind;
        QLabel* value;
    };

    void show();
    void makeRows();
    void askWay(const tFieldInfo& field, QPoint position);

    KeyEditor& m_keys;
    const EffectInfo* m_info = nullptr;
    QWidget* m_rows = nullptr;
    std::vector<Row> m_list;
    QToolButton *m_from, *m_to, *m_all;
};

} // namespace larkmoor
