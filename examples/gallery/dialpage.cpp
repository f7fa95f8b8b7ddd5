#include "dialpage.h"

#include <common/contact/numbercontext.h>
#include <common/tools/insertionfixupvalidator.h>
#include <common/tools/sip/normaladdress.h>
#include <common/tools/sip/sipid.h>

#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>

using tools::sip::SipId;

namespace {

constexpr int longestAddress = 255;

QString KindName(int kind)
{
    const char* const names[] = {"Account of the service", "Telephone number", "SIP address",
                                 "Skype name"};
    return QString::fromLatin1(names[kind]);
}

} // namespace

DialPage::DialPage()
    : Page("Dial", "Type or paste an address. Characters that no address can have are dropped; "
                   "what is left is normalised, parsed and classified at once."),
      field_(new QLineEdit)
{
    QFont font = field_->font();
    font.setPointSizeF(font.pointSizeF() * 1.3);
    field_->setFont(font);
    field_->setMaxLength(longestAddress);
    field_->setClearButtonEnabled(true);
    field_->setPlaceholderText("+74955550123,,12   or   \"Zoë\" <sip:zoe@example.com:5060>");
    field_->setValidator(new tools::CInsertionFixupValidator(
        QRegExp("[\\w\\s\"<>#" + SipId::AllSymbols() + "]*", Qt::CaseInsensitive), field_));
    connect(field_, &QLineEdit::textChanged, this, &DialPage::ShowRecord);
    Content()->addWidget(field_);

    auto* form = NewForm();
    kind_ = AddValue(form, "Kind");
    user_ = AddValue(form, "User");
    host_ = AddValue(form, "Host");
    port_ = AddValue(form, "Port");
    postDial_ = AddValue(form, "Post-dial digits");
    displayName_ = AddValue(form, "Display name");
    contactNumber_ = AddValue(form, "To dial");
    number_ = AddValue(form, "To show");
    uri_ = AddValue(form, "URI");
    dropped_ = AddValue(form, "Left out");
    QFont bold = kind_->font();
    bold.setBold(true);
    kind_->setFont(bold);
    Content()->addLayout(form);
    Content()->addStretch();
    ShowRecord(QString());
}

void DialPage::Rehearse()
{
    SetAddress("\"Zoë Müller\" <sip:zoe@example.com:5061;lr>");
}

void DialPage::SetAddress(const QString& address)
{
    field_->setText(address);
    field_->setCursorPosition(0);
}

void DialPage::ShowRecord(const QString& written)
{
    const auto normal = tools::sip::Normalise(written);
    const QString text = normal.problem ? written : normal.text;
    QString user;
    QString host;
    QString displayName;
    QString postDial;
    QString port;
    SipId::ParseURIEx(text, user, host, displayName, postDial, port);
    const auto number = common::contact::number::CreateInstance(text);
    const QString kind = KindName(number->Type());
    kind_->setText(written.isEmpty() ? QString()
                   : normal.problem  ? "None: " + normal.reason
                                     : kind);
    const auto show = [](QLabel* label, const QString& value) {
        label->setText(value.isEmpty() ? QString::fromUtf8("–") : value);
    };
    show(user_, user);
    show(host_, host);
    show(port_, port);
    show(postDial_, postDial);
    show(displayName_, normal.displayName);
    show(contactNumber_, number->ContactNumber());
    show(number_, number->Number());
    show(uri_, number->URI());
    show(dropped_, normal.dropped.join("  "));
}
