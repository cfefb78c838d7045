// SPDX-License-Identifier: MIT
#include "report/PageParts.h"

namespace vexo {

// Colour only repeats what words, dashes and hatching tell.
const char* const kPageStyle = R"(
:root{--paper:#fff;--ink:#1c2430;--faint:#5a6675;--rule:#d9dee5;--panel:#f5f7f9;--line:#1d5fa6;--band:#a9c9ea;
--limit:#a8480a;--wait:#b3261e;--hatch:#9aa4b0;--link:#1d5fa6}
@media screen and (prefers-color-scheme:dark){:root{--paper:#14181e;--ink:#e4e8ee;--faint:#a0abb9;--rule:#343d49;
--panel:#1c222a;--line:#8fc1f5;--band:#2c4f75;--limit:#f2a35e;--wait:#ff8a7d;--hatch:#667180;--link:#8fc1f5}}
*{box-sizing:border-box}
html{color-scheme:light dark;-webkit-text-size-adjust:100%}
body{margin:0 auto;padding:2rem 1.5rem 3rem;max-width:76rem;background:var(--paper);color:var(--ink);
font:1rem/1.5 system-ui,"Segoe UI",Roboto,"Noto Sans","DejaVu Sans",sans-serif;font-variant-numeric:tabular-nums}
header p{margin:.25rem 0 0;color:var(--faint)}
h1{font-size:1.75rem;line-height:1.2;margin:0}
h2{font-size:1.25rem;margin:2.75rem 0 .75rem;padding-bottom:.3rem;border-bottom:1px solid var(--rule)}
h3{font-size:1rem;margin:1.5rem 0 .4rem}
a{color:var(--link)}
nav ul{list-style:none;display:flex;flex-wrap:wrap;gap:.25rem 1.25rem;margin:1rem 0 0;padding:0;font-size:.9rem}
.summary{background:var(--panel);border-radius:.5rem;margin:0;padding:1rem 1.25rem 1rem 2.25rem}
.summary li+li{margin-top:.4rem}
.note,footer{color:var(--faint);font-size:.9rem;max-width:52rem}
.note{margin:.25rem 0 .75rem}
footer{margin-top:3rem;padding-top:.5rem;border-top:1px solid var(--rule)}
bdi{overflow-wrap:anywhere}
.scroll{overflow-x:auto}
.scroll:focus:not(:focus-visible){outline:none}
table{border-collapse:collapse;width:100%;font-size:.875rem;line-height:1.4}
th{color:var(--faint);font-weight:600;text-align:left;vertical-align:bottom}
th,td{padding:.35rem .9rem .35rem 0;border-bottom:1px solid var(--rule)}
td{vertical-align:top}
th:last-child,td:last-child{padding-right:0}
th.n,td.n{text-align:right;white-space:nowrap}
time{white-space:nowrap}
.share{width:4.5rem;height:.6rem;vertical-align:baseline}
.share .all{fill:var(--rule)}.share .part{fill:var(--line)}
.charts{display:grid;grid-template-columns:repeat(auto-fit,minmax(min(30rem,100%),1fr));gap:1.5rem 2.5rem}
figure{margin:0;min-width:0}
figcaption h3{margin:0}
figcaption p{margin:.1rem 0 1.1rem;color:var(--faint);font-size:.85rem;min-height:2.5em}
.plot{display:grid;grid-template-columns:4rem 1fr;grid-template-rows:9.5rem auto}
.y{position:relative;font-size:.75rem;color:var(--faint)}
.y span{position:absolute;right:.5rem;transform:translateY(50%);white-space:nowrap}
.x{position:relative;height:3.2rem;grid-column:2;font-size:.75rem;line-height:1.25;color:var(--faint)}
.x span{position:absolute;top:.35rem;transform:translateX(-50%);text-align:center;white-space:nowrap}
.x span::before{content:"";position:absolute;left:50%;top:-.35rem;height:.3rem;border-left:1px solid var(--hatch)}
.x .start{transform:none;text-align:left}.x .start::before{left:0}
.x .end{transform:translateX(-100%);text-align:right}.x .end::before{left:100%}
.area{position:relative;min-width:0}
.area svg{display:block;position:absolute;width:100%;height:100%;overflow:visible}
.area path{vector-effect:non-scaling-stroke;fill:none}
.area .grid{stroke:var(--rule);stroke-width:1}
.area .band{fill:var(--band);stroke:var(--band);stroke-width:1}
.area .mean{stroke:var(--line);stroke-width:1.5}
.area .limit{stroke:var(--limit);stroke-width:1.5;stroke-dasharray:6 4}
.area .wait{fill:var(--wait);stroke:var(--wait);stroke-width:1.5}
.limit-label{position:absolute;right:0;font-size:.75rem;color:var(--limit);background:var(--paper);padding:0 .25rem;
transform:translateY(-.15rem)}
.gap{position:absolute;top:0;bottom:0;min-width:3px;border:solid var(--hatch);border-width:0 1px;
background:repeating-linear-gradient(45deg,var(--hatch) 0 1px,transparent 1px 5px)}
.lane{display:grid;grid-template-columns:19rem 1fr;gap:0 1rem;align-items:center;padding:.3rem 0}
.lane+.lane{border-top:1px solid var(--rule)}
.lane .label{font-size:.85rem;line-height:1.3}
.lane small{color:var(--faint);white-space:nowrap}
.lane .area{height:1.4rem;background:var(--panel)}
.axis .x{grid-column:auto}
.mark{position:absolute;top:50%;transform:translate(-50%,-50%);font-size:.7rem;color:var(--line)}
details{margin:.25rem 0 0;font-size:.85rem}
summary{cursor:pointer;color:var(--link)}
@media (max-width:40rem){
body{padding:1.25rem 1rem 2rem}
h1{font-size:1.4rem}
.lane{grid-template-columns:1fr;gap:.2rem}
.plot{grid-template-columns:3.4rem 1fr}
.x .minor{display:none}
.summary{padding:.75rem 1rem .75rem 1.75rem}
table{width:max-content;min-width:100%}
td{max-width:17rem}
}
@media print{
@page{size:A4;margin:14mm}
html{color-scheme:light}
*{print-color-adjust:exact;-webkit-print-color-adjust:exact}
body{max-width:none;padding:0;font-size:9.5pt}
nav,details{display:none}
h2,h3,.note{break-after:avoid}
figure,tr,li,.lane{break-inside:avoid}
.charts{grid-template-columns:1fr 1fr;gap:1rem 1.5rem}
.lane{grid-template-columns:14rem 1fr}
.plot{grid-template-rows:7rem auto}
#charts{break-before:page}
.charts .minor{display:none}
.scroll{overflow:visible}
table{font-size:8pt}
a{color:inherit;text-decoration:none}
}
)";

}  // namespace vexo
