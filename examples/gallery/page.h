#pragma once

#include <QScrollArea>
#include <QVBoxLayout>

class QFormLayout;
class QLabel;
class QLineEdit;
class QPlainTextEdit;

/**
 * A page of the gallery: what it shows, in a title and a sentence, and the thing itself. It scrolls
 * where the window is too small for it.
 */
class Page : public QScrollArea
{
    Q_OBJECT

public:
    static constexpr int mostLines = 2000; ///< of a view

    Page(const QString& title, const QString& description);

    QString Title() const { return title_; }

    /** Sets going what the page has to show, for a picture of it. */
    virtual void Rehearse() {}
    /** How long that takes until there is something to see, in milliseconds. */
    virtual int RehearsalTime() const { return 0; }

    /** Where the page's own widgets go. */
    QVBoxLayout* Content() const { return content_; }

    /** A label with a text that is less important. */
    static QLabel* FaintLabel(const QString& text);
    /** A form at the end of the page. */
    QFormLayout* AddForm();
    /** A row with a text to read, to select and to copy. */
    static QLineEdit* AddValue(QFormLayout* form, const QString& name);
    /** A row with a text to fill in; @p hint says what an empty one means. */
    static QLineEdit* AddField(QFormLayout* form, const QString& name, const QString& hint);
    /** A row with a folder to fill in or to choose. */
    static QLineEdit* AddFolder(QFormLayout* form, const QString& name, const QString& hint);
    /** A read-only view of many lines under its name, in the space that is left. */
    QPlainTextEdit* AddLines(const QString& name);
    /** Adds a widget with its name above it, in the space that is left. */
    void AddWithLabel(const QString& name, QWidget* widget);
    /** The text with the time before it. */
    static QString Stamped(const QString& text);
    /** Adds a line to such a view, with its time. */
    static void AddEvent(QPlainTextEdit* lines, const QString& text);

private:
    QString title_;
    QVBoxLayout* content_;
};
