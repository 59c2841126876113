// Delaunay refinement that comes to an end on any outlines.
//
// CGAL's two levels, edges and faces, with three rules on top. Edges below a least length are not split: two outlines a
// nanometre apart would else be cut into nanometres all along. A node is only inserted where all triangles around it
// keep their orientation, whatever rounding did to it. And the least length doubles whenever nodes have used up a
// part of those to spare, until nothing is left to split.
#pragma once

#include <CGAL/Constrained_Delaunay_triangulation_2.h>
#include <CGAL/Delaunay_mesh_face_base_2.h>
#include <CGAL/Delaunay_mesher_2.h>
#include <CGAL/Exact_predicates_inexact_constructions_kernel.h>
#include <CGAL/Triangulation_face_base_with_info_2.h>
#include <CGAL/Triangulation_vertex_base_with_info_2.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <set>
#include <string>
#include <utility>

#include "tools/mesher/MeshLimits.h"
#include "tools/mesher/SizeField.h"

namespace CorvaneMesher::Refinement {

using Kernel = CGAL::Exact_predicates_inexact_constructions_kernel;
using CgalPoint = Kernel::Point_2;
using VertexBase = CGAL::Triangulation_vertex_base_with_info_2<int, Kernel>;
// Info: the place of the face's region, -1 before it is found.
using FaceBase = CGAL::Delaunay_mesh_face_base_2<
    Kernel,
    CGAL::Constrained_Delaunay_triangulation_face_base_2<
        Kernel,
        CGAL::Constrained_triangulation_face_base_2<Kernel, CGAL::Triangulation_face_base_with_info_2<int, Kernel>>>>;
using Triangulation =
    CGAL::Constrained_Delaunay_triangulation_2<Kernel, CGAL::Triangulation_data_structure_2<VertexBase, FaceBase>,
                                               CGAL::No_constraint_intersection_requiring_constructions_tag>;
using Face = Triangulation::Face_handle;
using Vertex = Triangulation::Vertex_handle;
using ConflictZone = CGAL::Triangulation_mesher_level_traits_2<Triangulation>::Zone;

/// Squared; what all parts of a refinement share.
struct LeastLength {
  double square = 0;
};

/// Whether all triangles that `point` would make with the zone's rim have their corners counterclockwise.
inline bool keeps_orientation(const Triangulation& triangulation, const ConflictZone& zone, const CgalPoint& point) {
  return std::all_of(zone.boundary_edges.begin(), zone.boundary_edges.end(), [&](const Triangulation::Edge& edge) {
    const Vertex from = edge.first->vertex(Triangulation::ccw(edge.second));
    const Vertex to = edge.first->vertex(Triangulation::cw(edge.second));
    return triangulation.is_infinite(from) || triangulation.is_infinite(to) ||
           CGAL::orientation(from->point(), to->point(), point) == CGAL::RIGHT_TURN;
  });
}

// --- edges ---

/// Says of short edges, too, that nothing is wrong with them.
class IsConforming : public CGAL::Mesh_2::Is_locally_conforming_Gabriel<Triangulation> {
 public:
  using Base = CGAL::Mesh_2::Is_locally_conforming_Gabriel<Triangulation>;

  const LeastLength* least = nullptr;

  bool is_short(Vertex a, Vertex b) const { return CGAL::squared_distance(a->point(), b->point()) < least->square; }

  bool operator()(const Triangulation& triangulation, Face face, int side) const {
    return is_short(face->vertex(Triangulation::cw(side)), face->vertex(Triangulation::ccw(side))) ||
           Base::operator()(triangulation, face, side);
  }
  bool operator()(const Triangulation& triangulation, Vertex a, Vertex b) const {
    return is_short(a, b) || Base::operator()(triangulation, a, b);
  }
  bool operator()(const Triangulation& triangulation, Face face, int side, const CgalPoint& point) const {
    return Base::operator()(triangulation, face, side, point);
  }
};

class EdgesBase : public CGAL::Mesh_2::Refine_edges_base_with_clusters<Triangulation, IsConforming> {
  using Base = CGAL::Mesh_2::Refine_edges_base_with_clusters<Triangulation, IsConforming>;

 public:
  using Base::Base;

  void set_least(const LeastLength* least) { this->is_locally_conform.least = least; }

  ConflictZone conflicts_zone_impl(const CgalPoint& point, Triangulation::Edge edge) {
    return lies_at(point, edge) ? Base::conflicts_zone_impl(point, edge) : ConflictZone();
  }

  CGAL::Mesher_level_conflict_status private_test_point_conflict_impl(const CgalPoint& point, ConflictZone& zone) {
    if (!zone.faces.empty() && keeps_orientation(this->tr, zone, point)) return CGAL::NO_CONFLICT;
    d_kept.insert(std::minmax(this->va, this->vb));
    return CGAL::CONFLICT_AND_ELEMENT_SHOULD_BE_DROPPED;
  }

  /// Short, or no point splits it.
  bool stays_whole(Face face, int side) const {
    const Vertex a = face->vertex(Triangulation::cw(side)), b = face->vertex(Triangulation::ccw(side));
    return this->is_locally_conform.is_short(a, b) || d_kept.contains(std::minmax(a, b));
  }

  /// A point that an edge which stays whole is in the way of is given up.
  CGAL::Mesher_level_conflict_status test_point_conflict_from_superior_impl(const CgalPoint& point,
                                                                            ConflictZone& zone) {
    for (const auto& [face, side] : zone.boundary_edges) {
      if (face->is_constrained(side) && stays_whole(face, side) &&
          !this->is_locally_conform(this->tr, face, side, point))
        return CGAL::CONFLICT_AND_ELEMENT_SHOULD_BE_DROPPED;
    }
    return Base::test_point_conflict_from_superior_impl(point, zone);
  }

 private:
  /// Rounding moves points off their edge, but not past the two faces along it.
  bool lies_at(const CgalPoint& point, Triangulation::Edge edge) const {
    const auto [face, side] = edge;
    const CgalPoint &from = face->vertex(Triangulation::ccw(side))->point(),
                    &to = face->vertex(Triangulation::cw(side))->point();
    if (CGAL::angle(from, point, to) != CGAL::OBTUSE) return false;
    const CGAL::Orientation turn = CGAL::orientation(from, to, point);
    if (turn == CGAL::COLLINEAR) return true;
    const Face other = face->neighbor(side);
    const Vertex apex =
        turn == CGAL::LEFT_TURN ? face->vertex(side) : other->vertex(this->tr.tds().mirror_index(face, side));
    return this->tr.is_infinite(apex) || (CGAL::orientation(to, apex->point(), point) == turn &&
                                          CGAL::orientation(apex->point(), from, point) == turn);
  }

  std::set<std::pair<Vertex, Vertex>> d_kept;  // edges that no point splits
};

using Edges = CGAL::Mesh_2::Refine_edges_with_clusters<Triangulation, IsConforming, EdgesBase>;

// --- faces ---

/// Of a face: first its size counts, then its angles.
struct Quality {
  double size = 0;         // longest edge, as a part of what is allowed
  double square_sine = 1;  // of the smallest angle

  bool operator<(const Quality& other) const {  // worse than
    if (size > 1 || other.size > 1) return size > other.size;
    return square_sine < other.square_sine;
  }
};

/// What the mesher asks of faces, under the names that it knows.
class Criteria {
 public:
  using Quality = Refinement::Quality;
  using Is_bad = Criteria;

  Criteria(const SizeField& lengths, const MeshSizes& sizes, const LeastLength& least)
      : d_lengths(&lengths),
        d_least(&least),
        d_square_min_edge(sizes.min_edge * sizes.min_edge),
        d_square_sine(std::pow(std::sin(sizes.min_angle / 180 * std::numbers::pi), 2)) {}

  const Is_bad& is_bad_object() const { return *this; }

  CGAL::Mesh_2::Face_badness operator()(const Quality& quality) const {
    if (quality.size > 1) return CGAL::Mesh_2::IMPERATIVELY_BAD;
    return quality.square_sine < d_square_sine ? CGAL::Mesh_2::BAD : CGAL::Mesh_2::NOT_BAD;
  }

  CGAL::Mesh_2::Face_badness operator()(Face face, Quality& quality) const {
    quality = quality_of(face);
    return (*this)(quality);
  }

 private:
  Quality quality_of(Face face) const {
    const CgalPoint &a = face->vertex(0)->point(), &b = face->vertex(1)->point(), &c = face->vertex(2)->point();
    std::array<double, 3> squares = {CGAL::squared_distance(a, b), CGAL::squared_distance(b, c),
                                     CGAL::squared_distance(c, a)};
    std::sort(squares.begin(), squares.end());
    const double allowed = (*d_lengths)((a.x() + b.x() + c.x()) / 3, (a.y() + b.y() + c.y()) / 3);
    Quality quality;
    if (squares[2] < d_least->square) return quality;
    quality.size = std::sqrt(squares[2]) / allowed;
    // Small already: no better angle is asked for.
    if (squares[0] < std::max(d_square_min_edge, d_least->square)) return quality;
    const double twice_area = 2 * CGAL::area(a, b, c);
    quality.square_sine = twice_area * twice_area / (squares[1] * squares[2]);
    return quality;
  }

  const SizeField* d_lengths;
  const LeastLength* d_least;
  double d_square_min_edge;
  double d_square_sine;
};

class FacesBase : public CGAL::Mesh_2::Refine_faces_base<Triangulation, Criteria, Edges> {
  using Base = CGAL::Mesh_2::Refine_faces_base<Refinement::Triangulation, Criteria, Edges>;

 public:
  using Base::Base;

  /// A corner of the face, where nothing is inserted, when the face is too flat for another point, or when that lies
  /// behind an edge which stays whole: to search for it could lead past all triangles.
  CgalPoint refinement_point_impl(Face face) const {
    const CgalPoint centre = Base::refinement_point_impl(face);
    if (!(std::abs(centre.x()) < kFar && std::abs(centre.y()) < kFar)) return face->vertex(0)->point();
    for (int side = 0; side < 3; ++side) {
      if (!face->is_constrained(side) || !this->previous.stays_whole(face, side)) continue;
      const CgalPoint &from = face->vertex(face->ccw(side))->point(), &to = face->vertex(face->cw(side))->point();
      if (CGAL::orientation(from, to, centre) != CGAL::LEFT_TURN) return from;
    }
    return centre;
  }

  /// The point has to do away with the face that it is for.
  CGAL::Mesher_level_conflict_status private_test_point_conflict_impl(const CgalPoint& point,
                                                                      ConflictZone& zone) const {
    const bool is_sound = std::find(zone.faces.begin(), zone.faces.end(), zone.parent_face) != zone.faces.end() &&
                          keeps_orientation(this->triangulation_ref_impl(), zone, point);
    return is_sound ? CGAL::NO_CONFLICT : CGAL::CONFLICT_AND_ELEMENT_SHOULD_BE_DROPPED;
  }

 private:
  static constexpr double kFar = 1e12;  // nm
};

using Faces = CGAL::Mesh_2::Refine_faces<Triangulation, Criteria, Edges, FacesBase>;

/// Where refinement goes on.
inline Point next_place(Edges& edges, Faces& faces) {
  const auto place_of = [](Vertex vertex) {
    return Point{std::llround(vertex->point().x()), std::llround(vertex->point().y())};
  };
  if (!faces.no_longer_element_to_refine()) return place_of(faces.get_next_element()->vertex(0));
  const Triangulation::Edge edge = edges.get_next_element();
  return place_of(edge.first->vertex(Triangulation::cw(edge.second)));
}

/// Faces in the domain become as small and as round as `sizes` and `lengths` ask. Returns whether that had to end
/// early, for want of spare nodes. Throws PlaceError for more nodes than the limits allow.
inline bool refine(Triangulation& triangulation, const SizeField& lengths, const MeshSizes& sizes) {
  LeastLength least;
  least.square = std::pow(sizes.least_split(), 2);
  Criteria criteria(lengths, sizes, least);
  CGAL::Null_mesher_level no_level;
  CGAL::Null_mesh_visitor no_visitor;
  CGAL::Mesh_2::Clusters<Triangulation> clusters(triangulation);
  Edges edges(triangulation, clusters, no_level);
  edges.set_least(&least);
  Faces faces(triangulation, criteria, edges);
  CGAL::Mesh_2::Refine_edges_visitor_from_faces<Faces> visitor(faces, edges, no_visitor);
  clusters.create_clusters();
  edges.scan_triangulation();
  faces.scan_triangulation();
  const MeshLimits& limits = sizes.limits;
  const std::size_t more = std::max<std::size_t>(limits.spare_nodes / 16, 1);
  const double expected = std::min(lengths.nodes_expected(), static_cast<double>(limits.nodes));
  std::size_t most = triangulation.number_of_vertices() + static_cast<std::size_t>(expected) + limits.spare_nodes;
  bool is_early = false;
  while (faces.try_to_insert_one_point(visitor)) {
    const std::size_t nodes = triangulation.number_of_vertices();
    if (nodes > limits.nodes && !faces.is_algorithm_done())
      throw PlaceError("edges this short make too many nodes", next_place(edges, faces));
    if (nodes < most) continue;
    is_early = true;
    least.square *= 4;
    most += more;
  }
  return is_early;
}

}  // namespace CorvaneMesher::Refinement
