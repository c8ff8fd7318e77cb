#pragma once

#include <QTableView>

namespace ostrel {

class CompactTableModel;

// A flat, read-only table as tall as its rows, so that the section never scrolls inside a
// table: no grid, no row numbers, no selection; the name column takes the spare width. With an
// empty text it shows that text alone ("No data").
class CompactTableView final : public QTableView {
    Q_OBJECT

  public:
    explicit CompactTableView(CompactTableModel* model, QWidget* parent = nullptr);

    void setEmptyText(const QString& text, const QColor& color);
    const QString& emptyText() const { return emptyText_; }

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    void fitHeight();

    QString emptyText_;
    QColor emptyColor_;
};

}  // namespace ostrel
