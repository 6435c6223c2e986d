#include "cli/Usage.h"

namespace ornolith {

constexpr std::string_view usage =
    R"(usage: ornolith-render <model> (--output <render.png> | --output-directory <path> | --list-parts) [options]

Inputs: FBX, OBJ, DAE, SCN, USD, USDA, USDC, USDZ, glTF, GLB, STL, and PLY.

Options:
  --output <path>              Write one PNG output.
  --output-directory <path>    Write a new paginated pose-series directory.
  --list-parts                 Print the authored node inventory as JSON; do not render.
  --width <pixels>             Output width. Default: 1024.
  --height <pixels>            Output height. Default: 1024. Contact sheets: max 16 MP.
  --tile-width <pixels>        Pose-series tile width. Default: 512.
  --tile-height <pixels>       Pose-series tile height. Default: 512.
  --layout <mode>              single, contact-4, or contact-6. Default: single.
  --contact-arrangement <mode>  grid or strip. Default: grid.
  --surface <mode>             textured, untextured, transparent, or mesh. Default: textured.
  --background <value>         transparent or #RRGGBB. Default: transparent.
  --camera auto                Use automatic camera framing. Default.
  --camera-position x,y,z      Override camera position.
  --camera-target x,y,z        Override camera target.
  --fov <degrees>              Override camera field of view.
  --camera-preset <path>       Apply an Ornolith camera-preset JSON file (schema v1).
  --asset-dir <path>           Extra texture/material directory. Repeatable.
  --rotate-part <selector> <axis-spec>
                               Add one explicit local rotation to a single pose.
                               axis-spec: comma-separated x=, y=, and/or z= degrees.
  --pose-file <path>           Ordered explicit poses as Ornolith pose JSON (schema v1).
  --show-pivot                 Render pivot axis overlay.
  --show-rigging               Render rigging overlay.
  --version                    Show product version.
  --help                       Show this help.)";

}  // namespace ornolith
