# Draws a chart as SVG from lines of: series, x, y, separated by tabs.
#
#   awk -v kind=lines -v title=... -v subtitle=... -f chart.awk    x on a logarithmic axis
#   awk -v kind=bars  -v title=... -v subtitle=... -f chart.awk    x names a group of bars
#
# The y axis starts at 0.

BEGIN {
  FS = "\t"
  width = 760; left = 70; right = 130; top = 64; bottom = 44
  count_colors = split("#d9822b #3f9d5a #a05195 #c8553d #665191", colors, " ")
}

!($1 in series_of) { series_of[$1] = ++series; name[series] = $1; color[series] = color_for($1) }
!($2 in x_of) { x_of[$2] = ++xs; x_name[xs] = $2 }
{
  value[series_of[$1], x_of[$2]] = $3
  if ($3 > highest) highest = $3
}

END {
  if (!series) exit 1
  step = nice_step(highest / 5)
  limit = step * int(highest / step + 0.999)
  height = top + bottom + (kind == "bars" ? xs * (series * 13 + 16) : 260)
  plot_width = width - left - right
  plot_height = height - top - bottom
  begin_svg()
  if (kind == "bars") draw_bars(); else draw_lines()
  print "</svg>"
}

# The least 1, 2 or 5 times a power of ten that is not below `least`.
function nice_step(least,   power) {
  power = 10 ^ int(log(least) / log(10) - (least < 1))
  if (least <= power) return power
  if (least <= 2 * power) return 2 * power
  return least <= 5 * power ? 5 * power : 10 * power
}

function text(x, y, anchor, size, color, what) {
  printf "<text x=\"%.1f\" y=\"%.1f\" text-anchor=\"%s\" font-size=\"%d\" fill=\"%s\">%s</text>\n", x, y, anchor, size, color, what
}

function line(x1, y1, x2, y2, color) {
  printf "<line x1=\"%.1f\" y1=\"%.1f\" x2=\"%.1f\" y2=\"%.1f\" stroke=\"%s\"/>\n", x1, y1, x2, y2, color
}

function number(n) {
  if (n >= 1000000) return n / 1000000 " M"
  return n >= 1000 ? n / 1000 " k" : n ""
}

function begin_svg() {
  printf "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 %d %d\" font-family=\"sans-serif\">\n", width, height
  printf "<rect width=\"%d\" height=\"%d\" fill=\"#ffffff\"/>\n", width, height
  text(left, 24, "start", 16, "#222222", title)
  text(left, 44, "start", 12, "#666666", subtitle)
}

# The baseline is grey.
function color_for(name) {
  if (name == "library") return "#1f6fb4"
  if (name ~ /^baseline/) return name ~ /whole/ ? "#b0b0b0" : "#7f7f7f"
  return colors[others++ % count_colors + 1]
}

function y_at(y) { return top + plot_height * (1 - y / limit) }

function x_at(x,   first, last) {
  first = log(x_name[1]); last = log(x_name[xs])
  return left + (last > first ? plot_width * (log(x) - first) / (last - first) : plot_width / 2)
}

function draw_lines(   y, s, x, points, at) {
  for (y = 0; y <= limit + step / 2; y += step) {
    line(left, y_at(y), left + plot_width, y_at(y), "#e4e4e4")
    text(left - 8, y_at(y) + 4, "end", 11, "#666666", number(y))
  }
  for (x = 1; x <= xs; ++x) text(x_at(x_name[x]), top + plot_height + 18, "middle", 11, "#666666", number(x_name[x]))
  for (s = 1; s <= series; ++s) {
    points = ""
    for (x = 1; x <= xs; ++x) {
      if (!((s, x) in value)) continue
      at = y_at(value[s, x])
      points = points sprintf("%.1f,%.1f ", x_at(x_name[x]), at)
      printf "<circle cx=\"%.1f\" cy=\"%.1f\" r=\"3\" fill=\"%s\"/>\n", x_at(x_name[x]), at, color[s]
      end_x[s] = x_at(x_name[x]); end_y[s] = at
    }
    printf "<polyline points=\"%s\" fill=\"none\" stroke=\"%s\" stroke-width=\"2\"/>\n", points, color[s]
  }
  label_ends()
}

# Writes each name at the end of its line, moved apart where they would overlap.
function label_ends(   s, other, moved) {
  do {
    moved = 0
    for (s = 1; s <= series; ++s) {
      for (other = 1; other <= series; ++other) {
        if (s == other || end_x[s] != end_x[other] || end_y[s] > end_y[other] || end_y[other] - end_y[s] >= 13) continue
        if (end_y[s] == end_y[other] && s > other) continue
        end_y[other] = end_y[s] + 13.5
        moved = 1
      }
    }
  } while (moved)
  for (s = 1; s <= series; ++s) text(end_x[s] + 8, end_y[s] + 4, "start", 12, color[s], name[s])
}

function draw_bars(   x, s, y, length_) {
  y = top
  for (x = 1; x <= xs; ++x) {
    text(left, y + 10, "start", 12, "#222222", x_name[x])
    y += 14
    for (s = 1; s <= series; ++s) {
      if ((s, x) in value) {
        length_ = plot_width * value[s, x] / limit
        printf "<rect x=\"%d\" y=\"%.1f\" width=\"%.1f\" height=\"10\" fill=\"%s\"/>\n", left, y, length_, color[s]
        text(left + length_ + 6, y + 9, "start", 10, "#444444", name[s] " " sprintf("%.2f", value[s, x]) unit)
      }
      y += 13
    }
    y += 2
  }
}
