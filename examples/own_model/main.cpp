// Stores objects of this program's own types and reads them back; exit status 0 means that all came back.
#include <iostream>
#include <memory>
#include <string>
#include <variant>
#include <vector>

#include "facade/DBZydata.h"
#include "model/Board.h"
#include "model/SImesh2D.h"

using namespace Board;

int main() {
  Layer top{0, "TOP", 1.6};
  Net ground{1, 2, "GND"};
  Point a{0, "a", 0, 0, 1.6, 0, &top, nullptr, nullptr, 0};
  Point b{1, "b", 2.5, 0, 1.6, 0, &top, nullptr, nullptr, 0};
  Track track{"T1", &ground, &a, &b};
  Hole hole{"H1", &ground, &a, &b, 0.3};
  Slot slot{{"S1", &ground, &b, &a}, 1, {0, 0, 1, 0, 1, 1}};
  Part part{"U1", {{"1", &a}, {"2", &b}}, 4};
  Settings settings;
  settings.others["maxEdgeLen"] = 2.5;
  settings.others["casefile"] = std::string("case.txt");

  Mesh2DPlat::DBZydata db("boards");
  db.openem(false, "own");
  db.write(&settings);
  db.write(std::vector<Layer*>{&top});
  db.write(std::vector<Net*>{&ground});
  db.write(std::vector<Point*>{&a, &b});
  db.write(std::vector<Track*>{&track});
  db.write(std::vector<Hole*>{&hole});
  db.write(std::vector<Slot*>{&slot});
  db.write(std::vector<Part*>{&part});
  db.save("own");

  if (!db.openem(true, "own")) return 1;
  const Mesh2DPlat::Table<int, Net> nets{{1, &ground}};
  const Mesh2DPlat::Table<int, Point> points{{0, &a}, {1, &b}};
  std::vector<Track*> tracks;
  std::vector<Hole*> holes;
  std::vector<Part*> parts;
  db.read(tracks, nets, points);
  db.read(holes, nets, points);
  db.read(parts, points);
  Settings found;
  db.read(&found);  // in place, by its own setters
  bool good = tracks.size() == 1 && tracks[0]->to == &b && holes.size() == 2 && holes[1]->is_slot &&
              parts.size() == 1 && parts[0]->pins == part.pins && found.changes == 20 &&
              found.others["maxEdgeLen"] == settings.others["maxEdgeLen"] &&
              found.others["casefile"] == settings.others["casefile"];
  delete tracks[0];
  delete parts[0];
  for (Hole* one : holes) {
    if (one->is_slot) {
      delete static_cast<Slot*>(one);
    } else {
      delete one;
    }
  }
  try {
    db.read(holes, nets, {{0, &a}});  // a point is missing, for the hole and for the slot
    good = false;
  } catch (const std::out_of_range&) {
  }

  Mesh2DPlat::SImesh2D mesh;
  mesh.addNode({-1, 0.5, 0.25, 0, {}, {}});
  db.write(&mesh, {{{&hole, 7}}});
  Mesh2DPlat::SImesh2D same;
  Mesh2DPlat::ViaTable vias;
  good = db.read(&same, vias) && same.nodes == mesh.nodes && good;
  std::cout << (good ? "all came back\n" : "something is lost\n");
  return good ? 0 : 1;
}
