// The user's settings in the desktop's settings store, under a company's and a program's name.
#pragma once

#include "platform/services.h"

#include <QSettings>

namespace cw {

class qt_user_settings final : public platform::user_settings {
public:
    qt_user_settings(const QString& company, const QString& application);

    int read_number(std::u16string_view section, std::u16string_view entry, int default_value) override;
    void write_number(std::u16string_view section, std::u16string_view entry, int value) override;
    std::u16string read_text(std::u16string_view section, std::u16string_view entry,
                             std::u16string_view default_value) override;
    void write_text(std::u16string_view section, std::u16string_view entry, std::u16string_view value) override;
    void remove(std::u16string_view section, std::u16string_view entry) override;

private:
    QSettings m_settings;
};

} // namespace cw
