#include "View/Element.h"
#include "View/Reconcile.h"

#include <gtest/gtest.h>

namespace quoxelin::testing {

namespace {

/// Records its calls and stores the text of the record that it shows.
class NotedView final : public Element {
  public:
    static std::unique_ptr<NotedView> make(ViewNode::Kind kind) {
        return std::make_unique<NotedView>(kind);
    }

    explicit NotedView(ViewNode::Kind kind) : Element(kind) { ++alive; }
    ~NotedView() override { --alive; }

    inline static int alive = 0;
    std::string text;
    std::optional<double> width;
    std::string presented;
    std::string asked;

  protected:
    void bindFrame(const ViewNode& node) override { width = node.width; }
    void readFrame(ViewNode& node) const override { node.width = width; }
    void bindContent(const ViewNode& node) override { text = node.text; }
    void readContent(ViewNode& node) const override { node.text = text; }

    template <typename Record>
    class Noted final : public Presentation<Record> {
      public:
        explicit Noted(std::string& notes) : notes(notes) {}
        ~Noted() override { notes += "gone "; }
        void bind(const Record&) override { notes += "bound "; }
        Record readBack() const override { return {}; }
        void present() override { notes += "up "; }
        void takeAway() override { notes += "away "; }

      private:
        std::string& notes;
    };

    std::unique_ptr<Presentation<Popover>> makePopover() override {
        return std::make_unique<Noted<Popover>>(presented);
    }
    std::unique_ptr<Presentation<Alert>> makeAlert() override {
        return std::make_unique<Noted<Alert>>(asked);
    }
};

using Views = std::vector<std::unique_ptr<NotedView>>;

ViewNode text(const std::string& words, const std::string& key = "") {
    ViewNode node;
    node.kind = ViewNode::Kind::text;
    node.text = words;
    node.key = key;
    return node;
}

ViewNode divider() {
    ViewNode node;
    node.kind = ViewNode::Kind::divider;
    return node;
}

Views shown(Views views, const std::vector<ViewNode>& nodes) {
    views = reconciled(std::move(views), nodes);
    for (std::size_t i = 0; i < nodes.size(); ++i)
        views[i]->bind(nodes[i]);
    return views;
}

std::vector<const NotedView*> identities(const Views& views) {
    std::vector<const NotedView*> found;
    for (const auto& each : views)
        found.push_back(each.get());
    return found;
}

} // namespace

TEST(Reconcile, keepsViewsWithoutAKeyAtTheirPosition) {
    auto views = shown({}, {text("a"), divider(), text("b")});
    const auto before = identities(views);
    views = shown(std::move(views), {text("c"), divider(), text("d")});
    EXPECT_EQ(identities(views), before);
    EXPECT_EQ(views[2]->readBack().text, "d");
}

TEST(Reconcile, followsAKeyToItsNewPosition) {
    auto views = shown({}, {text("a", "1"), text("b", "2"), text("c", "3")});
    const auto before = identities(views);
    views = shown(std::move(views), {text("c", "3"), text("a", "1"), text("b", "2")});
    EXPECT_EQ(identities(views), (std::vector{before[2], before[0], before[1]}));
}

TEST(Reconcile, makesAnotherViewForAnotherKindOrKey) {
    auto views = shown({}, {text("a"), text("b", "2")});
    const auto before = identities(views);
    views = shown(std::move(views), {divider(), text("b", "3")});
    EXPECT_NE(views[1].get(), before[1]);
    EXPECT_EQ(views[0]->readBack().kind, ViewNode::Kind::divider);
}

TEST(Reconcile, removesViewsWithoutARecord) {
    auto views = shown({}, {text("a", "1"), text("b", "2"), text("c", "3")});
    EXPECT_EQ(NotedView::alive, 3);
    views = shown(std::move(views), {text("b", "2")});
    EXPECT_EQ(NotedView::alive, 1);
}

TEST(Reconcile, givesAViewToOnlyOneOfTwoRecordsWithTheSameKey) {
    auto views = shown({}, {text("a", "1")});
    views = shown(std::move(views), {text("b", "1"), text("c", "1")});
    EXPECT_NE(views[0].get(), views[1].get());
}

TEST(Reconcile, installsARootOnlyWhenItIsNew) {
    std::unique_ptr<NotedView> root;
    int installed = 0;
    const auto install = [&](NotedView&) { ++installed; };
    reconcileRoot(root, text("a"), install);
    reconcileRoot(root, text("b"), install);
    EXPECT_EQ(installed, 1);
    EXPECT_EQ(root->readBack().text, "b");
    reconcileRoot(root, divider(), install);
    EXPECT_EQ(installed, 2);
    EXPECT_EQ(root->readBack().kind, ViewNode::Kind::divider);
}

TEST(Element, presentsWhileTheRecordHasAPresentation) {
    NotedView view(ViewNode::Kind::text);
    auto node = text("a");
    view.bind(node);
    EXPECT_EQ(view.presented, "");
    node.popover = std::make_shared<Popover>();
    view.bind(node);
    EXPECT_EQ(view.asked, "");
    node.alert = std::make_shared<Alert>();
    view.bind(node);
    view.windowDidHide();
    view.windowDidShow();
    EXPECT_TRUE(view.readBack().popover);
    EXPECT_TRUE(view.readBack().alert);
    view.bind(node);
    node.popover = nullptr;
    node.alert = nullptr;
    view.bind(node);
    EXPECT_EQ(view.presented, "bound bound away up bound gone ");
    EXPECT_EQ(view.asked, "bound away up bound gone ");
    EXPECT_FALSE(view.readBack().popover);
    EXPECT_FALSE(view.readBack().alert);
}

TEST(Element, readsBackWhatItShows) {
    NotedView view(ViewNode::Kind::text);
    auto node = text("a", "key");
    node.width = 7;
    view.bind(node);
    EXPECT_EQ(view.readBack().kind, ViewNode::Kind::text);
    EXPECT_EQ(view.readBack().key, "key");
    EXPECT_EQ(view.readBack().text, "a");
    EXPECT_EQ(view.readBack().width, 7);
}

TEST(Alert, hasTheSameButtonsWhateverTheyDo) {
    using Role = Alert::Button::Role;
    const auto with = [](std::vector<Alert::Button> buttons) {
        return Alert{"Title", "Message", std::move(buttons)};
    };
    const auto one = with({{"Yes", Role::destructive, {}}, {"No", Role::cancel, {}}});
    EXPECT_TRUE(
        haveSameButtons(one, with({{"Yes", Role::destructive, [] {}}, {"No", Role::cancel, {}}})));
    for (const auto& other : {with({{"Yes", Role::destructive, {}}}),
                              with({{"Yes", Role::cancel, {}}, {"No", Role::cancel, {}}}),
                              with({{"Yes", Role::destructive, {}}, {"Never", Role::cancel, {}}}),
                              with({{"No", Role::cancel, {}}, {"Yes", Role::destructive, {}}})})
        EXPECT_FALSE(haveSameButtons(one, other));
}

/// A view of a toolkit that has a class for each kind of record.
struct AnyView {
    explicit AnyView(std::string name) : name(std::move(name)) {}
    virtual ~AnyView() = default;
    std::string name;
};
template <char Name>
struct ViewCalled : AnyView {
    explicit ViewCalled(ViewNode::Kind /*stack*/ = {}) : AnyView(std::string(1, Name)) {}
};

TEST(Reconcile, makesTheViewOfEachKind) {
    using Kind = ViewNode::Kind;
    std::string names;
    for (const auto kind : {Kind::text, Kind::symbol, Kind::circle, Kind::spacer, Kind::divider,
                            Kind::row, Kind::horizontalStack, Kind::verticalStack, Kind::list})
        names +=
            makeView<AnyView, ViewCalled<'t'>, ViewCalled<'y'>, ViewCalled<'c'>, ViewCalled<' '>,
                     ViewCalled<'-'>, ViewCalled<'r'>, ViewCalled<'s'>, ViewCalled<'l'>>(kind)
                ->name;
    EXPECT_EQ(names, "tyc -rssl");
}

} // namespace quoxelin::testing
