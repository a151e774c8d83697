#include "UpdateWindow.h"

#include "Tessary/Shell/UpdateCheck.h"

#include <QCoreApplication>
#include <QDesktopServices>
#include <QHBoxLayout>
#include <QLabel>
#include <QNetworkAccessManager>
#include <QPushButton>
#include <QVBoxLayout>

namespace tessary {

UpdateWindow::UpdateWindow(QWidget* parent)
    : QWidget(parent, Qt::Window)
    , m_network(new QNetworkAccessManager(this))
{
    setObjectName(QStringLiteral("updateWindow"));
    setWindowTitle(title.toString());
    auto* layout = new QVBoxLayout(this);
    m_headline = new QLabel(this);
    m_headline->setObjectName(QStringLiteral("updateHeadline"));
    m_headline->setWordWrap(true);
    QFont bold = m_headline->font();
    bold.setBold(true);
    m_headline->setFont(bold);
    m_headline->setTextInteractionFlags(Qt::TextSelectableByMouse);
    m_notes = new QLabel(this);
    m_notes->setObjectName(QStringLiteral("updateNotes"));
    m_notes->setWordWrap(true);
    m_notes->setTextInteractionFlags(Qt::TextSelectableByMouse);
    m_download = new QPushButton(downloadText.toString(), this);
    m_download->setObjectName(QStringLiteral("updateDownload"));
    connect(m_download, &QPushButton::clicked, this, [this] { QDesktopServices::openUrl(m_downloadUrl); });
    auto* buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(m_download);
    layout->addWidget(m_headline);
    layout->addWidget(m_notes);
    layout->addStretch(1);
    layout->addLayout(buttons);
    setMinimumWidth(420);
}

void UpdateWindow::check(const std::optional<QUrl>& feed, bool quiet)
{
    const int generation = ++m_generation;
    if (!feed) {
        m_checking = false;
        present(noFeedText.toString(), {}, {});
        if (!quiet)
            show();
        return;
    }
    m_checking = true;
    present(checkingText.toString(), {}, {});
    if (!quiet) {
        show();
        raise();
        activateWindow();
    }
    QCoro::connect(run(*feed, quiet, generation), this, [] {});
}

QCoro::Task<> UpdateWindow::run(QUrl feed, bool quiet, int generation)
{
    QPointer self(this);
    const auto result = co_await UpdateFeed::check(m_network, feed, QCoreApplication::applicationVersion());
    // Closed, or a newer check started while this one waited: it has nothing left to say.
    if (!self || generation != m_generation)
        co_return;
    m_checking = false;
    if (result)
        present((*result).headline(), (*result).available ? (*result).latest.notes : QString(),
            (*result).available ? (*result).latest.url : QUrl());
    else
        present(result.error().description(), {}, {});
    if (quiet && result && (*result).available) {
        show();
        raise();
    }
}

void UpdateWindow::present(const QString& headline, const QString& notes, const QUrl& download)
{
    m_headline->setText(headline);
    m_notes->setText(notes);
    m_notes->setVisible(!notes.isEmpty());
    m_downloadUrl = download;
    m_download->setVisible(download.isValid() && !download.isEmpty());
    adjustSize();
}

} // namespace tessary
