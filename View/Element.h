#pragma once

#include "View/ViewRecords.h"

#include <memory>
#include <string>

namespace quoxelin {

/// What is presented beside an element or over its window as long as its record says so: a pop-over
/// or an alert.
template <typename Record>
class Presentation {
  public:
    virtual ~Presentation() = default;

    /// Shows the record, and comes up if its element is on the screen.
    virtual void bind(const Record& record) = 0;

    /// What it shows, as a record; without its functions.
    virtual Record readBack() const = 0;

    /// Comes up, if its element is on the screen.
    virtual void present() = 0;

    /// Goes without having been dismissed or answered.
    virtual void takeAway() = 0;
};

/// One element on the screen: a native view that shows a record, and can say what it shows. It
/// outlives the record, and shows the one that takes its place in the next tree. Every toolkit
/// derives its own views. Main thread only.
class Element {
  public:
    Element(const Element&) = delete;
    Element& operator=(const Element&) = delete;
    virtual ~Element();

    /// Shows the record, which is of this element's kind.
    void bind(const ViewNode& node);

    /// What the native view shows, as a record; without its functions.
    ViewNode readBack() const;

    /// Whether this element stands for the record at that position among its siblings.
    bool standsFor(const ViewNode& node, bool samePosition) const;

    /// Presents what belongs to this element and those within it, when their window has come up.
    virtual void windowDidShow();

    /// Takes it away again, when their window has gone.
    virtual void windowDidHide();

  protected:
    explicit Element(ViewNode::Kind kind);

    /// Size, padding and background, which elements of all kinds have.
    virtual void bindFrame(const ViewNode& node) = 0;
    virtual void readFrame(ViewNode& node) const = 0;

    /// What is of the element's own kind.
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

/// Whether both offer the same buttons in the same order, whatever they do.
bool haveSameButtons(const Alert& a, const Alert& b);

} // namespace quoxelin
