#include "desktop/fixed_tool_bar.h"

#include <QEvent>
#include <QPainter>
#include <QToolButton>

namespace cw {
namespace {

/// Larger than the arrow of any style, which comes in its own size then.
constexpr QSize largest_arrow(64, 64);

} // namespace

fixed_tool_bar::fixed_tool_bar(const QString& name, QWidget* parent) : QToolBar(name, parent)
{
    setAccessibleName(name);
    // Where toolbars stand is not kept.
    setMovable(false);
    setFloatable(false);
    colour_overflow_button();
}

void fixed_tool_bar::changeEvent(QEvent* event)
{
    QToolBar::changeEvent(event);
    if (event->type() == QEvent::PaletteChange || event->type() == QEvent::StyleChange)
        colour_overflow_button();
}

void fixed_tool_bar::colour_overflow_button()
{
    auto* button = findChild<QToolButton*>(QStringLiteral("qt_toolbar_ext_button"));
    if (!button)
        return;
    button->setAccessibleName(QStringLiteral("More of %1").arg(windowTitle()));
    // Styles bring a black arrow, which is not to be seen on a dark toolbar.
    QPixmap arrow = button->icon().pixmap(largest_arrow, devicePixelRatioF());
    if (arrow.isNull())
        return;
    QPainter painter(&arrow);
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(arrow.rect(), palette().color(QPalette::ButtonText));
    painter.end();
    button->setIcon(arrow);
}

} // namespace cw
