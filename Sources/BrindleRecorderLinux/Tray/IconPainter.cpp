#include "BrindleRecorderLinux/Tray/IconPainter.hpp"

#include "BrindleRecorderLinux/Tray/IconOutline.hpp"

#include <agg_conv_stroke.h>
#include <agg_ellipse.h>
#include <agg_path_storage.h>
#include <agg_pixfmt_rgba.h>
#include <agg_rasterizer_scanline_aa.h>
#include <agg_renderer_base.h>
#include <agg_renderer_scanline.h>
#include <agg_rendering_buffer.h>
#include <agg_scanline_u.h>

#include <cstddef>
#include <utility>
#include <variant>
#include <vector>

namespace brindle {

namespace {

constexpr std::size_t bytesPerPixel = 4;

/// To draw on: what is drawn covers what was there.
using Pixels = agg::pixfmt_alpha_blend_rgba<
    agg::blender_rgba_pre<agg::rgba8, agg::order_argb>, agg::rendering_buffer>;
/// To erase from.
using ErasedPixels = agg::pixfmt_custom_blend_rgba<
    agg::comp_op_adaptor_rgba_pre<agg::rgba8, agg::order_argb>, agg::rendering_buffer>;

/// A picture that is being drawn: the whole one, or a layer of it. Premultiplied, on nothing.
struct Canvas {
    std::vector<agg::int8u> bytes;
    /// A point p of the drawing steps lies at the pixel `origin + scale * p`.
    IconPoint origin;
    double scale = 1;
};

class Drawing {
  public:
    Drawing(const IconImage& image, int pixels)
        : pixels_{pixels}, canvases_{makeCanvas({}, pixels / image.size)} {}

    void operator()(const IconImage::BeginLayer& layer) {
        canvases_.push_back(makeCanvas(placed(layer.translation), scale() * layer.scale));
    }

    void operator()(const IconImage::EndLayer& /*layer*/) {
        if (canvases_.size() < 2) {
            return;
        }
        Canvas layer = std::move(canvases_.back());
        canvases_.pop_back();
        agg::rendering_buffer above = rows(layer);
        agg::rendering_buffer below = rows(canvases_.back());
        const Pixels source{above};
        Pixels target{below};
        agg::renderer_base<Pixels>{target}.blend_from(source);
    }

    void operator()(const IconImage::StrokeCircle& circle) {
        agg::ellipse outline = ellipse(circle.rect);
        stroke(outline, circle.lineWidth, circle.colour);
    }

    void operator()(const IconImage::StrokeLine& line) {
        const IconPoint from = placed(line.from);
        const IconPoint to = placed(line.to);
        agg::path_storage path;
        path.move_to(from.x, from.y);
        path.line_to(to.x, to.y);
        stroke(path, line.lineWidth, line.colour);
    }

    void operator()(const IconImage::FillCircle& circle) {
        agg::rendering_buffer target = rows(canvases_.back());
        fill(Pixels{target}, circle.rect, circle.colour);
    }

    void operator()(const IconImage::ClearCircle& circle) {
        agg::rendering_buffer target = rows(canvases_.back());
        fill(ErasedPixels{target, agg::comp_op_dst_out}, circle.rect, {0, 0, 0, 1});
    }

    IconPicture finish() {
        while (canvases_.size() > 1) {
            (*this)(IconImage::EndLayer{});
        }
        agg::rendering_buffer all = rows(canvases_.front());
        Pixels{all}.demultiply();
        return {.side = pixels_, .bytes = std::move(canvases_.front().bytes)};
    }

  private:
    [[nodiscard]] Canvas makeCanvas(const IconPoint& origin, double scale) const {
        const auto side = static_cast<std::size_t>(pixels_);
        return {std::vector<agg::int8u>(side * side * bytesPerPixel), origin, scale};
    }

    [[nodiscard]] agg::rendering_buffer rows(Canvas& canvas) const {
        const auto side = static_cast<unsigned>(pixels_);
        return {canvas.bytes.data(), side, side, pixels_ * static_cast<int>(bytesPerPixel)};
    }

    [[nodiscard]] double scale() const { return canvases_.back().scale; }
    [[nodiscard]] IconPoint placed(const IconPoint& point) const {
        const IconPoint& origin = canvases_.back().origin;
        return {origin.x + scale() * point.x, origin.y + scale() * point.y};
    }

    [[nodiscard]] agg::ellipse ellipse(const IconRect& rect) const {
        const double halfWidth = rect.width / 2;
        const double halfHeight = rect.height / 2;
        const IconPoint centre = placed({rect.x + halfWidth, rect.y + halfHeight});
        agg::ellipse result{centre.x, centre.y, scale() * halfWidth, scale() * halfHeight};
        // A polygon of so many corners that it is a hundredth of a pixel beside the circle at most.
        constexpr double finer = 16;
        result.approximation_scale(finer);
        return result;
    }

    template <class Target>
    void fill(Target target, const IconRect& rect, const IconColour& colour) {
        if (rect.width > 0 && rect.height > 0) {
            agg::ellipse disc = ellipse(rect);
            draw(target, disc, colour);
        }
    }

    template <class Path>
    void stroke(Path& path, double lineWidth, const IconColour& colour) {
        agg::conv_stroke<Path> line{path};
        line.width(lineWidth * scale());
        agg::rendering_buffer buffer = rows(canvases_.back());
        Pixels target{buffer};
        draw(target, line, colour);
    }

    template <class Target, class Shape>
    static void draw(Target& target, Shape& shape, const IconColour& colour) {
        agg::renderer_base<Target> renderer{target};
        agg::rasterizer_scanline_aa<> rasterizer;
        rasterizer.add_path(shape);
        agg::scanline_u8 line;
        agg::rgba straight{colour.red, colour.green, colour.blue, colour.alpha};
        agg::render_scanlines_aa_solid(
            rasterizer, line, renderer, agg::rgba8{straight.premultiply()});
    }

    int pixels_;
    std::vector<Canvas> canvases_; ///< the innermost layer last
};

} // namespace

IconPicture IconPainter::paint(const IconImage& image, int pixels) {
    if (pixels <= 0 || image.size <= 0) {
        return {};
    }
    Drawing drawing{image, pixels};
    for (const auto& operation : IconOutline::around(image).operations) {
        std::visit(drawing, operation);
    }
    return drawing.finish();
}

} // namespace brindle
