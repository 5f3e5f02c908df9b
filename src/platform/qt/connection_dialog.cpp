#include "platform/qt/connection_dialog.h"

#include <QApplication>
#include <QDialog>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QIntValidator>
#include <QLineEdit>
#include <QString>
#include <cstdlib>
#include <optional>

namespace platform::qt {
namespace {

// tavro-host's own defaults: the local machine, its usual port and the namespace every
// server is created with.
constexpr const char* kDefaultServer = "127.0.0.1";
constexpr const char* kDefaultPort = "48100";
constexpr const char* kDefaultNamespace = "USER";

std::string Environment(const char* name) {
    const char* value = std::getenv(name);
    return value == nullptr ? std::string() : std::string(value);
}

QLineEdit* AddField(QDialog& dialog, QFormLayout& form, const char* label, const char* name,
                    const std::string& text) {
    auto* edit = new QLineEdit(QString::fromStdString(text), &dialog);
    edit->setObjectName(QString::fromLatin1(name));
    form.addRow(QString::fromLatin1(label), edit);
    return edit;
}

std::string TextOf(const QLineEdit* edit) { return edit->text().trimmed().toStdString(); }

// What the user last confirmed with OK. A failed connection is offered again with Retry, and
// the dialog then opens with what was typed rather than the defaults; the password is never
// kept, so it is asked for again.
struct TypedFields {
    ConnectionParts parts;
    std::string user;
};
std::optional<TypedFields>& LastTyped() {
    static std::optional<TypedFields> typed;
    return typed;
}

}  // namespace

ConnectionParts InitialConnectionFields() {
    ConnectionParts parts{kDefaultServer, kDefaultPort, kDefaultNamespace};
    ConnectionParts fromEnvironment;
    if (SplitConnectionString(Environment("TAVRO_CONNECTION"), fromEnvironment)) {
        parts = fromEnvironment;
    }
    return parts;
}

ConnectionChoice ShowConnectionDialog(const std::string& /*options*/) {
    if (QApplication::instance() == nullptr) return ConnectionFromEnvironment();

    const std::optional<TypedFields>& typed = LastTyped();
    const ConnectionParts initial = typed ? typed->parts : InitialConnectionFields();
    const std::string initialUser = typed ? typed->user : Environment("TAVRO_USER");
    const std::string initialPassword = typed ? std::string() : Environment("TAVRO_PASSWORD");
    QDialog dialog;
    dialog.setObjectName(QStringLiteral("dlgTavroConnection"));
    dialog.setWindowTitle(QStringLiteral("Tavro Connection"));
    auto* form = new QFormLayout(&dialog);
    QLineEdit* server = AddField(dialog, *form, "&Server:", "txtServer", initial.host);
    QLineEdit* port = AddField(dialog, *form, "P&ort:", "txtPort", initial.port);
    port->setValidator(new QIntValidator(1, 65535, port));
    QLineEdit* nameSpace =
        AddField(dialog, *form, "&Namespace:", "txtNamespace", initial.nameSpace);
    QLineEdit* user = AddField(dialog, *form, "&User:", "txtUser", initialUser);
    QLineEdit* password = AddField(dialog, *form, "&Password:", "txtPassword", initialPassword);
    password->setEchoMode(QLineEdit::Password);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, &dialog);
    form->addRow(buttons);
    QObject::connect(buttons, &QDialogButtonBox::accepted, &dialog, &QDialog::accept);
    QObject::connect(buttons, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);
    // The user name is what people change most; the server fields are usually right. Shown
    // again, only the password is missing.
    if (typed) {
        password->setFocus();
    } else {
        user->setFocus();
    }

    if (dialog.exec() != QDialog::Accepted) return {};
    ConnectionParts chosen{TextOf(server), TextOf(port), TextOf(nameSpace)};
    LastTyped() = TypedFields{chosen, TextOf(user)};
    return ConnectionChoice{JoinConnectionString(chosen), TextOf(user),
                            password->text().toStdString()};
}

void InstallQtConnectionDialog() { Tavro().promptConnection = ShowConnectionDialog; }

}  // namespace platform::qt
