# SPDX-License-Identifier: MIT
"""Draws good data over time: one panel for each plan, one line for each program."""

WIDTH, HEIGHT = 460, 300
LEFT, TOP, RIGHT, BOTTOM = 52, 40, 16, 44
COLOURS = ["#c2410c", "#94a3b8", "#475569", "#0e7490"]
DASHES = ["", "2 3", "7 4", "1 0"]


def points(curve, span, x, y):
    """Steps become a line of a few hundred points: what a pixel cannot show is left out."""
    found, last = [(0.0, 0.0)], -1
    for when, total in curve:
        if when > span:
            break
        if int(x(when) * 2) != last:
            last = int(x(when) * 2)
            found.append((when, total))
    if curve:
        found.append((span, max(total for when, total in curve if when <= span)) if
                     any(when <= span for when, _ in curve) else (span, 0.0))
    return " ".join(f"{x(when):.1f},{y(total):.1f}" for when, total in found)


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
        yield (f'<polyline points="{points(curve, span, x, y)}" fill="none" '
               f'stroke="{COLOURS[number]}" stroke-width="{2.5 if number == 0 else 1.5}" '
               f'stroke-dasharray="{DASHES[number]}"/>')


def draw(panels, span, size):
    """The picture as SVG. `panels` are (title, {program: [(seconds, MiB)]})."""
    columns = min(2, len(panels))
    rows = (len(panels) + columns - 1) // columns
    width, height = columns * WIDTH, rows * HEIGHT + 30
    parts = [f'<svg xmlns="http://www.w3.org/2000/svg" width="{width}" height="{height}" '
             f'viewBox="0 0 {width} {height}" font-family="DejaVu Sans, sans-serif" font-size="11" '
             'fill="#0f172a">', f'<rect width="{width}" height="{height}" fill="#ffffff"/>']
    for number, (title, curves) in enumerate(panels):
        parts += panel(f"{title}: good data in MiB", curves, span, size, number % columns * WIDTH,
                       number // columns * HEIGHT)
    for number, name in enumerate(panels[0][1]):
        left = LEFT + number * (width - LEFT) // len(panels[0][1])
        parts.append(f'<path d="M{left} {height - 20}h26" stroke="{COLOURS[number]}" '
                     f'stroke-width="{2.5 if number == 0 else 1.5}" stroke-dasharray="{DASHES[number]}"/>'
                     f'<text x="{left + 32}" y="{height - 16}">{name}</text>')
    return "\n".join([*parts, "</svg>"]) + "\n"
