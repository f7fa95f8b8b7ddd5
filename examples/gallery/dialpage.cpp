#include "dialpage.h"

#include <common/contact/numbercontext.h>
#include <common/tools/insertionfixupvalidator.h>
#include <common/tools/sip/normaladdress.h>
#include <common/tools/sip/sipid.h>

#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>

using tools::sip::NormalAddress;
using tools::sip::SipId;

namespace {

constexpr int longestAddress = 255;

const QStringList examples = {"tel:+7-(495)-555-01-23;ext=12",
                              "\"Zoë\" <sips:zoe@example.com:5061>",
                              "+44 (0)20 7946 0123",
                              "skype:jane.roe?call",
                              "000123@example.com",
                              "alice@",
                              "alice@pbx",
                              "alice@192.168.1.10"};

const QStringList kinds = {"Account of the service", "Telephone number", "SIP address",
                           "Skype name"};

// Some of the problems go once the rest is typed.
QString Verdict(const NormalAddress& address)
{
    switch (address.problem) {
    case NormalAddress::Empty:
    case NormalAddress::UserMissing:
    case NormalAddress::HostMissing:
    case NormalAddress::HostIsShort:
        return "Incomplete: " + address.reason;
    default:
        return "Not an address: " + address.reason;
    }
}

} // namespace

DialPage::DialPage()
    : Page("Dial", "Type or paste an address, or choose an example. Characters that no address can "
                   "have are dropped as you type.")
{
    QFormLayout* form = AddForm();
    field_ = AddField(form, "&Address", "+74955550123,,12   or   zoe@example.com");
    field_->setMaxLength(longestAddress);
    field_->setValidator(new tools::CInsertionFixupValidator(
        QRegExp("[\\w\\s\"<>#" + SipId::AllSymbols() + "]*", Qt::CaseInsensitive), field_));
    connect(field_, &QLineEdit::textChanged, this, &DialPage::ShowResult);

    for (const char* name :
         {"Dialled", "Kind", "Name", "User", "Host", "Post-dial digits", "Left out"})
        values_ << AddValue(form, name);
    QFont bold = font();
    bold.setBold(true);
    for (int i = 0; i < 2; ++i)
        values_[i]->setFont(bold);

    auto* list = new QListWidget;
    list->addItems(examples);
    const auto choose = [this](const QListWidgetItem* item) {
        SetAddress(item->text());
    };
    connect(list, &QListWidget::itemClicked, this, choose);
    connect(list, &QListWidget::itemActivated, this, choose);
    AddWithLabel("&Examples", list);
    ShowResult(QString());
}

void DialPage::Rehearse()
{
    SetAddress(examples[1]);
}

void DialPage::SetAddress(const QString& address)
{
    field_->setText(address);
    field_->setCursorPosition(0);
}

void DialPage::ShowResult(const QString& written)
{
    const NormalAddress address = tools::sip::Normalise(written);
    const auto number = common::contact::number::CreateInstance(address.text);
    const QString kind = address.problem ? Verdict(address) : kinds.value(number->Type());
    const QStringList texts = {number->ContactNumber(),
                               written.isEmpty() ? QString() : kind,
                               address.displayName,
                               number->User(),
                               number->Host(),
                               number->Extention(),
                               address.dropped.join("  ")};
    for (int i = 0; i < texts.size(); ++i) {
        values_[i]->setText(texts[i].isEmpty() ? QString::fromUtf8("–") : texts[i]);
        values_[i]->setCursorPosition(0);
    }
}
