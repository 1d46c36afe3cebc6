// Light or dark before anything is drawn: as the system has it, until the button says otherwise.
"use strict";

{
  const dark = matchMedia("(prefers-color-scheme: dark)");
  const follow = () => (document.documentElement.dataset.theme = dark.matches ? "dark" : "light");
  dark.addEventListener("change", follow);
  follow();
}
