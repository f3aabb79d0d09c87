#pragma once

#include "Kel/remapImage.h"
#include "rectiline/rectiline.h"

namespace rectiline::capi {

/// A caller's format, which is one of them, as the kernels name it.
inline kel::PixelFormat kernelFormat(rectiline_format format) {
  switch (format) {
    case RECTILINE_GREY8:
      return kel::PixelFormat::Grey8;
    case RECTILINE_RGB8:
      return kel::PixelFormat::Rgb8;
    case RECTILINE_RGBA8:
      return kel::PixelFormat::Rgba8;
    case RECTILINE_GREY16:
      return kel::PixelFormat::Grey16;
  }
  return kel::PixelFormat::Grey8;
}

}  // namespace rectiline::capi
