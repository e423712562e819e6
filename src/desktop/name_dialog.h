// Asks for a name that nothing else bears. Used by the customise dialog for toolbars and menus.
#pragma once

#include <QDialog>
#include <QStringList>

#include <optional>

class QLabel;
class QLineEdit;
class QPushButton;

namespace cw {

class name_dialog final : public QDialog {
public:
    /// `taken` are the names that it may not be.
    name_dialog(const QString& title, const QString& initial, QStringList taken, QWidget* parent);

    /// In one line, without blanks around it.
    [[nodiscard]] QString name() const;
    [[nodiscard]] QLineEdit& field() noexcept { return *m_field; }

private:
    void look_at_name();

    QStringList m_taken;
    QLineEdit* m_field;
    QLabel* m_note;
    QPushButton* m_ok;
};

/// Shows the dialog; empty where the person does without.
[[nodiscard]] std::optional<QString> ask_for_name(const QString& title, const QString& initial,
                                                  const QStringList& taken, QWidget* parent);

} // namespace cw
