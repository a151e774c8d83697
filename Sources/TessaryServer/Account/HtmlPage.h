#pragma once

#include <QByteArray>
#include <QString>

namespace tessary::server {

// The frame every page of the server shares: self-contained HTML (no script, no external
// assets), light and dark, narrow screens too.

// `content` goes into the page's card as it is; `wide` for tables.
QByteArray htmlDocument(const QString& title, const QString& content, bool wide = false);

QString htmlEscaped(const QString& text);

// <input type="hidden"> with its value escaped.
QString hiddenField(const char* name, const QString& value);

// The refusal to show above a form, or nothing when `message` is empty.
QString errorParagraph(const QString& message);

// The e-mail and password fields of a sign-in form; `email` is what was typed before.
QString credentialFields(const QString& email);

// A page with nothing to do but read: a broken link, an expired form.
QByteArray messagePage(const QString& title, const QString& message);

} // namespace tessary::server
