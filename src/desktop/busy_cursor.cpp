#include "desktop/busy_cursor.h"

#include <QCursor>
#include <QGuiApplication>

#include <utility>

namespace cw {
namespace {

int busy_depth = 0;

} // namespace

busy_cursor::busy_cursor()
{
    if (busy_depth++ == 0)
        QGuiApplication::setOverrideCursor(Qt::WaitCursor);
}

busy_cursor::~busy_cursor()
{
    if (--busy_depth == 0)
        QGuiApplication::restoreOverrideCursor();
}

busy_pause::busy_pause() : m_depthBefore(std::exchange(busy_depth, 0))
{
    if (m_depthBefore != 0)
        QGuiApplication::restoreOverrideCursor();
}

busy_pause::~busy_pause()
{
    busy_depth = m_depthBefore;
    if (m_depthBefore != 0)
        QGuiApplication::setOverrideCursor(Qt::WaitCursor);
}

} // namespace cw
