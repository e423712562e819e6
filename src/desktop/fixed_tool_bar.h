// A toolbar that stays where it is, with a way to what does not fit that every palette shows. Used by
// the main window's toolbars and by the help.
#pragma once

#include <QToolBar>

namespace cw {

class fixed_tool_bar : public QToolBar {
public:
    /// The name is a person's title for it, and read out.
    explicit fixed_tool_bar(const QString& name, QWidget* parent = nullptr);

protected:
    void changeEvent(QEvent* event) override;

private:
    void colour_overflow_button();
};

} // namespace cw
