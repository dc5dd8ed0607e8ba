% Settings shared by every demo sheet: Letter pages, four measures to a
% system (each song writes its \break), five systems to a page at a fixed
% distance so that the systems land at the same heights on every page.
\version "2.24.0"
#(set-global-staff-size 22)
\paper {
  #(set-paper-size "letter")
  ragged-bottom = ##t
  ragged-last-bottom = ##t
  systems-per-page = 5
  system-system-spacing = #'((basic-distance . 23) (minimum-distance . 23)
                             (padding . 0) (stretchability . 0))
  % the first system of a later page where the title puts it on the first
  top-system-spacing = #'((basic-distance . 17) (minimum-distance . 17)
                          (padding . 0) (stretchability . 0))
  tagline = ##f
}
\layout {
  indent = 0
  \context {
    \Score
    \override NonMusicalPaperColumn.line-break-permission = ##f
  }
}
