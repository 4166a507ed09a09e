#include "pins/pin_pass.h"

#include <tbb/enumerable_thread_specific.h>

#include <cstdint>
#include <memory>
#include <new>
#include <utility>

#include "backgrounds/PaintContext.h"
#include "fills/PinFill.h"
#include "maps/row_loop.h"
#include "pins/PassPlan.h"
#include "pins/PinRowPainter.h"
#include "pins/fill_factory.h"

namespace orv::hdri::blockedAVX2 {
namespace {

/// Holds the fills prepared for one paint, and gives back in list order what they got.
class PreparedFills {
 public:
  explicit PreparedFills(PinList& pins) : pins_(pins) {}
  PreparedFills(const PreparedFills&) = delete;
  PreparedFills& operator=(const PreparedFills&) = delete;
  ~PreparedFills() {
    for (const std::unique_ptr<Pin>& pin : pins_) pin->fill->release();
  }

  void prepare(const PaintContext& context, const BackgroundSource& background) {
    std::int32_t index = -1;
    for (const std::unique_ptr<Pin>& pin : pins_) {
      ++index;
      if (pin->fill->prepare(context, background)) continue;
      context.tellFallback(index);
      std::unique_ptr<PinFill> red = makeRedFill();
      if (!red) throw std::bad_alloc();
      pin->fill = std::move(red);
    }
  }

 private:
  PinList& pins_;
};

}  // namespace

void paintPins(const PaintContext& context, const BackgroundSource& background, PinList& pins,
               EnvImage& result) {
  context.progressText("Painting Pins");
  PreparedFills fills(pins);
  fills.prepare(context, background);
  const PassPlan plan(context.width, context.height, pins, context.smoothing ? kNeedsSoftEdge : 0);
  tbb::enumerable_thread_specific<PinRowPainter> rowPainters(
      [&] { return PinRowPainter(context, background, plan, result); });
  forEachRow(static_cast<std::uint32_t>(context.height), 1,
             [&](std::uint32_t y) { rowPainters.local().paintRow(y); });
}

}  // namespace orv::hdri::blockedAVX2
