#include "desktop/cell_delegate.h"

#include "desktop/icons.h"

#include <QApplication>
#include <QHelpEvent>
#include <QImage>
#include <QPainter>
#include <QScreen>
#include <QScrollBar>
#include <QStandardItemModel>
#include <QTableView>
#include <QToolTip>
#include <gtest/gtest.h>

namespace cw {
namespace {

struct CellDelegate : testing::Test {
    CellDelegate()
    {
        model.setItem(0, 0, new QStandardItem(QStringLiteral("short")));
        model.setItem(0, 1, new QStandardItem(QStringLiteral("<Data> & a text that is longer than its cell")));
        view.setModel(&model);
        view.setItemDelegate(&delegate);
        view.setColumnWidth(0, 200);
        view.setColumnWidth(1, 80);
        view.resize(600, 200);
        view.show();
    }
    ~CellDelegate() override { QToolTip::hideText(); }
    QString tip_over(int column)
    {
        QToolTip::hideText();
        const QPoint place = view.visualRect(model.index(0, column)).center();
        QHelpEvent event(QEvent::ToolTip, place, view.viewport()->mapToGlobal(place));
        QCoreApplication::sendEvent(view.viewport(), &event);
        return QToolTip::isVisible() ? QToolTip::text() : QString();
    }
    QImage drawn()
    {
        QImage picture(100, 22, QImage::Format_RGB32);
        picture.fill(Qt::white);
        QPainter painter(&picture);
        QStyleOptionViewItem option;
        option.initFrom(&view);
        option.rect = picture.rect();
        delegate.paint(&painter, option, model.index(0, 0));
        return picture;
    }

    QStandardItemModel model;
    QTableView view;
    cell_delegate delegate;
};

TEST_F(CellDelegate, TipsOnlyWhatIsCut)
{
    EXPECT_EQ(tip_over(0), QString());
    EXPECT_TRUE(tip_over(1).contains("a text that is longer"));
}

TEST_F(CellDelegate, TipsWhatTheEdgeOfThePaneCuts)
{
    view.setHorizontalScrollMode(QAbstractItemView::ScrollPerPixel);
    view.resize(150, 200);
    EXPECT_EQ(tip_over(0), QString()) << "the cell reaches out of the pane, but not its text";
    view.horizontalScrollBar()->setValue(20);
    EXPECT_TRUE(tip_over(0).contains("short"));
}

TEST_F(CellDelegate, TipsShowTextsThatLookLikeMarkupAsTheyAre)
{
    EXPECT_TRUE(tip_over(1).contains("&lt;Data&gt; &amp; a text"));
}

TEST_F(CellDelegate, TipsShowControlCharactersAsBlanksAndKeepLines)
{
    model.item(0, 1)->setText(QStringLiteral("a line that is longer than its cell\r\nand\tmore\x01 of it"));
    EXPECT_TRUE(tip_over(1).contains("than its cell \nand\tmore  of it<"));
}

TEST_F(CellDelegate, TipsWrapLongWords)
{
    const QString word(60, u'd');
    const QString gap(QChar(0x200B));
    model.item(0, 1)->setText(word + u'\\' + word);
    EXPECT_TRUE(tip_over(1).contains(word + gap + u'\\' + word.left(59) + gap + u'd' + u'<'));
    // Neither between the halves of a character nor before what belongs to the one before it.
    model.item(0, 1)->setText(QString(59, u'd') + QString::fromUtf8("\U0001F4E6\u0301e"));
    EXPECT_TRUE(tip_over(1).contains(QString(59, u'd') + QString::fromUtf8("\U0001F4E6\u0301\u200Be<")));
}

TEST_F(CellDelegate, TipsFitOnTheScreen)
{
    const QSize room = view.screen()->availableGeometry().size();
    for (const QString& text : {QString(1'000'000, u'x'), QString(1'000'000, u'\n') + u'x',
                                QString("word ").repeated(200'000), QString("line\n").repeated(100'000)}) {
        model.item(0, 1)->setText(text);
        const QString tip = tip_over(1);
        EXPECT_TRUE(tip.contains(u'\u2026'));
        for (const QWidget* widget : QApplication::topLevelWidgets())
            if (widget->inherits("QTipLabel")) {
                EXPECT_LT(widget->width(), room.width());
                EXPECT_LT(widget->height(), room.height()) << text.left(5).toStdString();
            }
    }
}

TEST_F(CellDelegate, TipsCanBeOff)
{
    delegate.show_tips(false);
    EXPECT_EQ(tip_over(1), QString());
}

TEST_F(CellDelegate, ATextIsOneLine)
{
    EXPECT_EQ(delegate.displayText(QStringLiteral("a\r\nb\tc"), QLocale::c()), "a  b c");
    EXPECT_EQ(delegate.displayText(QStringLiteral("a\u0085b\u2028c\u2029d\u007Fe"), QLocale::c()), "a b c d e");
    const QString zero_inside = QStringLiteral("a") + QChar(u'\0') + QStringLiteral("b");
    EXPECT_EQ(delegate.displayText(zero_inside, QLocale::c()), "a b");
}

TEST_F(CellDelegate, AHugeTextIsNotLaidOutWhole)
{
    EXPECT_EQ(delegate.displayText(QString(1'000'000, u'x'), QLocale::c()).size(), 2000);
}

TEST_F(CellDelegate, RowsHaveRoomForFontAndPicture)
{
    const QFontMetrics metrics(view.font());
    EXPECT_GE(cell_delegate::row_height(metrics), metrics.height());
    EXPECT_GT(cell_delegate::row_height(metrics), tree_icon_size);
    QStyleOptionViewItem option;
    option.initFrom(&view);
    EXPECT_EQ(delegate.sizeHint(option, model.index(0, 0)).height(), cell_delegate::row_height(metrics));
}

TEST_F(CellDelegate, GridLinesAreFaintAndAtTheEdges)
{
    const QImage without = drawn();
    delegate.show_grid(true);
    const QImage with = drawn();
    EXPECT_NE(with.pixelColor(99, 11), without.pixelColor(99, 11));
    EXPECT_NE(with.pixelColor(50, 21), without.pixelColor(50, 21));
    EXPECT_EQ(with.pixelColor(98, 2), without.pixelColor(98, 2));
    const int strength = without.pixelColor(99, 11).lightness() - with.pixelColor(99, 11).lightness();
    EXPECT_GT(std::abs(strength), 8);
    EXPECT_LT(std::abs(strength), 80);
}

} // namespace
} // namespace cw
