#include <tuple>

#include "HostFixture.h"

namespace {

std::tuple<A_long, A_long, A_long, A_long> edges(const PF_LRect& r) {
    return std::make_tuple(r.left, r.top, r.right, r.bottom);
}

}  // namespace

// Pre-render asks for the request unchanged and merges the checkout's rectangles into what the host
// set in the output, each into its own (an empty source leaves the destination as it is, an empty
// destination takes the source as it is); a failed checkout returns its code with nothing touched.
TEST_F(HostFixture, PreRenderPassesTheRequestOnAndMergesEachRectangleIntoItsOwn) {
    // The checkout's code and rectangles (all zeros: the host's own, the input's bounds clipped to the
    // request), the output's rectangles before, and after.
    struct Case {
        PF_Err checkoutErr;
        PF_LRect checkout, checkoutMax, before, beforeMax, result, max;
    } cases[] = {
        {0, {}, {}, {}, {}, {1, 2, 30, 40}, {0, 0, 64, 48}},
        {0, {3, 4, 50, 60}, {7, 7, 3, 2}, {0, 0, 0, 0}, {9, 9, 9, 9}, {3, 4, 50, 60}, {7, 7, 3, 2}},
        {0, {5, 5, 20, 8}, {4, 4, 4, 10}, {0, 0, 10, 10}, {-3, 1, 6, 2}, {0, 0, 20, 10}, {-3, 1, 6, 2}},
        {PF_Interrupt_CANCEL, {5, 5, 20, 8}, {0, 0, 99, 99}, {0, 0, 10, 10}, {}, {0, 0, 10, 10}, {}},
    };
    fxhost::HostWorld input(64, 48, fxhost::Depth::Eight);
    PF_RenderRequest request = PF_RenderRequest();
    request.rect = {1, 2, 30, 40};
    request.field = 2;
    request.channel_mask = PF_ChannelMask_RED | PF_ChannelMask_ALPHA;
    request.preserve_rgb_of_zero_alpha = 1;
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << "case " << &c - cases);
        host->checkoutResult.reset();
        if (edges(c.checkout) != edges(PF_LRect{})) {
            host->checkoutResult = PF_CheckoutResult();
            host->checkoutResult->result_rect = c.checkout;
            host->checkoutResult->max_result_rect = c.checkoutMax;
        }
        host->faults().clear();
        if (c.checkoutErr) host->faults().faults.push_back({fxhost::Callback::CheckoutLayer, c.checkoutErr});
        PF_PreRenderOutput output = PF_PreRenderOutput();
        output.result_rect = c.before;
        output.max_result_rect = c.beforeMax;
        output.flags = 0x55;
        EXPECT_EQ(host->smartPreRender(request, output, &input), c.checkoutErr);
        EXPECT_EQ(edges(output.result_rect), edges(c.result));
        EXPECT_EQ(edges(output.max_result_rect), edges(c.max));
        EXPECT_EQ(output.flags, 0x55);
    }
    const PF_RenderRequest& seen = host->lastCheckoutRequest();
    EXPECT_EQ(edges(seen.rect), edges(request.rect));
    EXPECT_EQ(seen.field, 2);
    EXPECT_EQ(seen.channel_mask, PF_ChannelMask_RED | PF_ChannelMask_ALPHA);
    EXPECT_EQ(seen.preserve_rgb_of_zero_alpha, 1);
}
