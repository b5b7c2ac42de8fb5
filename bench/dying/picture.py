# SPDX-License-Identifier: MIT
"""Draws good data over time: one panel for each plan, one line for each program."""

WIDTH, HEIGHT = 460, 300
LEFT, TOP, RIGHT, BOTTOM = 52, 40, 16, 44
LEGEND = 26  # height of a line of it
COLOURS = ["#c2410c", "#94a3b8", "#475569", "#0e7490"]
DASHES = ["none", "2 3", "7 4", "none"]


def stroke(number):
    return (f'stroke="{COLOURS[number]}" stroke-width="{2.5 if number == 0 else 1.5}" '
            f'stroke-dasharray="{DASHES[number]}"')


def line(curve, span, x, y):
    """The curve until the end of the span; steps that no eye could tell apart are left out."""
    seen = [(when, total) for when, total in curve if when <= span]
    steps = {round(x(when)): (when, total) for when, total in reversed(seen)}
    ends = [(0, 0), *sorted(steps.values()), (span, seen[-1][1] if seen else 0)]
    return " ".join(f"{x(when):.1f},{y(total):.1f}" for when, total in ends)


def panel(title, curves, span, size, left, top):
    width, height = WIDTH - LEFT - RIGHT, HEIGHT - TOP - BOTTOM

    def x(when):
        return left + LEFT + width * when / span

    def y(total):
        return top + TOP + height * (1 - total / size)

    yield f'<text x="{x(0):.0f}" y="{top + 24}" font-size="15" font-weight="bold">{title}</text>'
    for share in (0, 0.25, 0.5, 0.75, 1):
        level = y(share * size)
        yield (f'<path d="M{x(0):.1f} {level:.1f}H{x(span):.1f}" stroke="#e2e8f0"/>'
               f'<text x="{x(0) - 6:.1f}" y="{level + 4:.1f}" text-anchor="end">'
               f'{share * size:.0f}</text>')
    step = next(s for s in (1, 2, 5, 10, 20, 50, 100, 200, 500, 1000, span) if span / s <= 7)
    for number in range(int(span / step) + 1):
        yield (f'<text x="{x(number * step):.1f}" y="{y(0) + 17:.1f}" text-anchor="middle">'
               f'{number * step:g} s</text>')
    for number, curve in reversed(list(enumerate(curves.values()))):
        yield f'<polyline points="{line(curve, span, x, y)}" fill="none" {stroke(number)}/>'


def draw(panels, span, size):
    """The picture as SVG. `panels` are (title, {program: [(seconds, MiB)]})."""
    columns = min(2, len(panels))
    rows = (len(panels) + columns - 1) // columns
    names = list(panels[0][1])
    legend_rows = (len(names) + 2 * columns - 1) // (2 * columns)
    width, height = columns * WIDTH, rows * HEIGHT + legend_rows * LEGEND
    parts = [f'<svg xmlns="http://www.w3.org/2000/svg" width="{width}" height="{height}" '
             f'viewBox="0 0 {width} {height}" font-family="DejaVu Sans, sans-serif" font-size="11" '
             'fill="#0f172a">', f'<rect width="{width}" height="{height}" fill="#ffffff"/>']
    for number, (title, curves) in enumerate(panels):
        parts += panel(f"{title}: good data in MiB", curves, span, size, number % columns * WIDTH,
                       number // columns * HEIGHT)
    for number, name in enumerate(names):
        left = LEFT + number % (2 * columns) * (WIDTH - LEFT // 2) // 2
        middle = rows * HEIGHT + number // (2 * columns) * LEGEND + 8
        parts.append(f'<path d="M{left} {middle}h26" {stroke(number)}/>'
                     f'<text x="{left + 32}" y="{middle + 4}">{name}</text>')
    return "\n".join([*parts, "</svg>"]) + "\n"
