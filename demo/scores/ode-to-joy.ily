% One measure to a line: the map maker counts measures by source line.
odeGlobal = { \key c \major \time 4/4 }
odeMelody = \fixed c' {
  e4 e f g |
  g f e d |
  c c d e |
  e4. d8 d2 | \break
  e4 e f g |
  g f e d |
  c c d e |
  d4. c8 c2 | \break
  d4 d e c |
  d e8 f e4 c |
  d e8 f e4 d |
  c d g,2 | \break
  e4 e f g |
  g f e d |
  c c d e |
  d4. c8 c2 \bar "|."
}
odeBass = \fixed c, {
  c2 e | g, b, | c e | g, g, |
  c e | g, b, | c e | g, c |
  g, b, | c c | g, b, | c g, |
  c e | g, b, | c e | g, c |
}
