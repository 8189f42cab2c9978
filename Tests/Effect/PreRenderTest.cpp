#include "HostFixture.h"

namespace {

PF_RenderRequest requestFor(PF_LRect rect) {
    PF_RenderRequest request = PF_RenderRequest();
    request.rect = rect;
    request.field = 2;
    request.channel_mask = PF_ChannelMask_RED | PF_ChannelMask_ALPHA;
    request.preserve_rgb_of_zero_alpha = 1;
    return request;
}

void expectRect(const PF_LRect& r, A_long l, A_long t, A_long rr, A_long b) {
    EXPECT_EQ(r.left, l);
    EXPECT_EQ(r.top, t);
    EXPECT_EQ(r.right, rr);
    EXPECT_EQ(r.bottom, b);
}

class PreRender : public HostFixture {
protected:
    // Pre-render with the checkout answering `result` and `max`, over output rectangles set beforehand.
    PF_Err run(PF_LRect result, PF_LRect max, PF_LRect outResult, PF_LRect outMax) {
        PF_CheckoutResult checkout = PF_CheckoutResult();
        checkout.result_rect = result;
        checkout.max_result_rect = max;
        host->checkoutResult = checkout;
        output = PF_PreRenderOutput();
        output.result_rect = outResult;
        output.max_result_rect = outMax;
        output.flags = 0x55;
        return host->smartPreRender(requestFor({1, 2, 30, 40}), output);
    }
    PF_PreRenderOutput output;
};

}  // namespace

TEST_F(PreRender, PassesTheRequestOnUnchanged) {
    fxhost::HostWorld input(64, 48, fxhost::Depth::Eight);
    host->checkoutResult.reset();
    PF_PreRenderOutput out = PF_PreRenderOutput();
    EXPECT_EQ(host->smartPreRender(requestFor({1, 2, 30, 40}), out, &input), PF_Err_NONE);
    const PF_RenderRequest& seen = host->lastCheckoutRequest();
    expectRect(seen.rect, 1, 2, 30, 40);
    EXPECT_EQ(seen.field, 2);
    EXPECT_EQ(seen.channel_mask, PF_ChannelMask_RED | PF_ChannelMask_ALPHA);
    EXPECT_EQ(seen.preserve_rgb_of_zero_alpha, 1);
    expectRect(out.result_rect, 1, 2, 30, 40);
    expectRect(out.max_result_rect, 0, 0, 64, 48);
}

TEST_F(PreRender, EmptyOutputTakesTheCheckoutRectanglesAsTheyAre) {
    EXPECT_EQ(run({3, 4, 50, 60}, {7, 7, 3, 2}, {0, 0, 0, 0}, {9, 9, 9, 9}), PF_Err_NONE);
    expectRect(output.result_rect, 3, 4, 50, 60);
    expectRect(output.max_result_rect, 7, 7, 3, 2);  // empty over empty: copied, not normalised
    EXPECT_EQ(output.flags, 0x55);
}

TEST_F(PreRender, UnionEnclosesBothAndIgnoresAnEmptySource) {
    EXPECT_EQ(run({5, 5, 20, 8}, {4, 4, 4, 10}, {0, 0, 10, 10}, {-3, 1, 6, 2}), PF_Err_NONE);
    expectRect(output.result_rect, 0, 0, 20, 10);
    expectRect(output.max_result_rect, -3, 1, 6, 2);  // merged independently: empty source, dst stays
}

TEST_F(PreRender, FailedCheckoutReturnsTheHostCodeAndLeavesRectanglesAlone) {
    host->faults().faults.push_back({fxhost::Callback::CheckoutLayer, PF_Interrupt_CANCEL});
    EXPECT_EQ(run({5, 5, 20, 8}, {0, 0, 99, 99}, {0, 0, 10, 10}, {0, 0, 0, 0}), PF_Interrupt_CANCEL);
    expectRect(output.result_rect, 0, 0, 10, 10);
    expectRect(output.max_result_rect, 0, 0, 0, 0);
}
