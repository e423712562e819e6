// The page of the customise dialog for sizes and looks. What is chosen holds at once.
#pragma once

#include "framework/command_bars.h"

#include <QWidget>

#include <utility>
#include <vector>

class QCheckBox;
class QRadioButton;

namespace cw {

class customize_options_page final : public QWidget {
public:
    /// `bars` is borrowed.
    explicit customize_options_page(command_bars& bars, QWidget* parent = nullptr);

    /// Shows what holds now.
    void refresh();

private:
    void apply();
    void reset();

    command_bars& m_bars;
    std::vector<std::pair<QRadioButton*, bool>> m_sizes; // large or not
    std::vector<std::pair<QRadioButton*, tool_button_text>> m_texts;
    QCheckBox* m_menuIcons;
};

} // namespace cw
