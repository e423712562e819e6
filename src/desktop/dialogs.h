// The program's own dialogs. Each is made whole by its constructor and answers after `exec`; the
// services show them, tests look into them.
#pragma once

#include <QDialog>

#include <string_view>

class QLabel;
class QLineEdit;

namespace cw {

/// Asks for the password of a protected media. `refusal` is empty at the first showing.
class password_dialog final : public QDialog {
public:
    password_dialog(const QString& path, const QString& refusal, QWidget* parent);

    [[nodiscard]] QString password() const;
    [[nodiscard]] QLineEdit& field() noexcept { return *m_field; }

private:
    QLineEdit* m_field;
};

class find_dialog final : public QDialog {
public:
    find_dialog(const QString& initial_text, QWidget* parent);

    [[nodiscard]] QString text() const;
    [[nodiscard]] QLineEdit& field() noexcept { return *m_field; }

private:
    QLineEdit* m_field;
};

class about_dialog final : public QDialog {
public:
    explicit about_dialog(QWidget* parent);
};

/// The program's name, as titles show it.
[[nodiscard]] QString application_title();

} // namespace cw
