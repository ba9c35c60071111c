#pragma once

#include "View/ViewRecords.h"

#include <memory>
#include <string>

namespace quoxelin {

/// A popover beside an element or an alert over its window, presented as long as the element's
/// record has it.
template <typename Record>
class Presentation {
  public:
    virtual ~Presentation() = default;

    /// Shows the record, and presents it if its element is on the screen.
    virtual void bind(const Record& record) = 0;

    /// The record shown, without its functions.
    virtual Record readBack() const = 0;

    /// Presents it if its element is on the screen.
    virtual void present() = 0;

    /// Closes without a dismissal or an answer.
    virtual void takeAway() = 0;
};

/// One element on the screen: a native view that shows a record. It outlives the record and shows
/// the next tree's record in its place. Each toolkit derives its views from it. Main thread only.
class Element {
  public:
    Element(const Element&) = delete;
    Element& operator=(const Element&) = delete;
    virtual ~Element();

    /// Shows the record, which must be of this element's kind.
    void bind(const ViewNode& node);

    /// The record shown by the native view, without its functions.
    ViewNode readBack() const;

    /// Whether this element can show the record: it has its kind and key.
    bool standsFor(const ViewNode& node) const;

    /// Presents the popovers and alerts of this element and its children once their window is
    /// shown.
    virtual void windowDidShow();

    /// Closes them once their window is hidden.
    virtual void windowDidHide();

  protected:
    explicit Element(ViewNode::Kind kind);

    /// The size, padding and background of every kind of element.
    virtual void bindFrame(const ViewNode& node) = 0;
    virtual void readFrame(ViewNode& node) const = 0;

    /// The properties specific to this kind of element.
    virtual void bindContent(const ViewNode& node) = 0;
    virtual void readContent(ViewNode& node) const = 0;

    virtual std::unique_ptr<Presentation<Popover>> makePopover() = 0;
    virtual std::unique_ptr<Presentation<Alert>> makeAlert() = 0;

    const ViewNode::Kind kind;

  private:
    std::string key;
    std::unique_ptr<Presentation<Popover>> popover;
    std::unique_ptr<Presentation<Alert>> alert;
};

/// Whether both have the same buttons in the same order, apart from their actions.
bool haveSameButtons(const Alert& a, const Alert& b);

} // namespace quoxelin
