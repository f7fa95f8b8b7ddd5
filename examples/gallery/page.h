#pragma once

#include <QVBoxLayout>
#include <QWidget>

class QFormLayout;
class QLabel;
class QPushButton;

/** A page of the gallery: what it shows, in a title and a sentence, and the thing itself. */
class Page : public QWidget
{
    Q_OBJECT

public:
    Page(const QString& title, const QString& description);

    QString Title() const { return title_; }

    /** Sets going what the page has to show, for a picture of it. */
    virtual void Rehearse() {}
    /** How long that takes until there is something to see, in milliseconds. */
    virtual int RehearsalTime() const { return 0; }

protected:
    /** Where the page's own widgets go. */
    QVBoxLayout* Content() const { return content_; }

    /** A label with a text that is less important. */
    static QLabel* FaintLabel(const QString& text);
    /** A button with some air around its text. */
    static QPushButton* NewButton(const QString& text);
    /** A form for values. */
    static QFormLayout* NewForm();
    /** A row of the form whose value is text to select; returns the value. */
    static QLabel* AddValue(QFormLayout* form, const QString& name);

private:
    QString title_;
    QVBoxLayout* content_;
};
