#include "Platform/macOS/QXTreeView.h"

#include "Platform/macOS/ElementView.h"
#include "View/Reconcile.h"

@implementation QXTreeView {
    std::unique_ptr<quoxelin::ElementView> root;
    std::function<void()> sizeDidChange;
    CGSize size;
}

- (BOOL)isFlipped {
    return YES;
}

- (void)show:(const quoxelin::ViewNode&)tree {
    quoxelin::reconcileRoot(root, tree,
                            [self](quoxelin::ElementView& view) { [self addSubview:view.view()]; });
    self.needsLayout = YES;
    const auto newSize = root->measure(CGFLOAT_MAX);
    if (CGSizeEqualToSize(size, newSize))
        return;
    size = newSize;
    [self invalidateIntrinsicContentSize];
    if (sizeDidChange)
        sizeDidChange();
}

- (quoxelin::ViewNode)readBack {
    return root ? root->readBack() : quoxelin::ViewNode{};
}

- (void)setSizeDidChange:(std::function<void()>)newSizeDidChange {
    sizeDidChange = std::move(newSizeDidChange);
}

- (NSSize)intrinsicContentSize {
    return size;
}

- (void)layout {
    [super layout];
    if (root)
        root->place(self.bounds);
}

- (void)windowDidShow {
    if (root)
        root->windowDidShow();
}

- (void)windowDidHide {
    if (root)
        root->windowDidHide();
}

@end
