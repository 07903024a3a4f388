/* hypra: multilevel hypergraph partitioning library (public C interface). */
#ifndef HYPRA_H
#define HYPRA_H

#ifdef __cplusplus
extern "C" {
#endif

void HYPRA_PartRecursive(int nvtxs, int nhedges, const int *vwgts, const int *eptr, const int *eind,
                         const int *hewgts, int nparts, int ubfactor, const int *options, int *part,
                         int *edgecut);

void HYPRA_PartRecursiveInternal(int nvtxs, int nhedges, const int *vwgts, const int *eptr,
                                 const int *eind, const int *hewgts, int nparts, int ubfactor,
                                 const int *options, int *part, int *edgecut);

void HYPRA_2WayRefine(int nvtxs, int nhedges, const int *vwgts, const int *eptr, const int *eind,
                      const int *hewgts, int ubfactor, const int *options, int *part, int *edgecut);

#ifdef __cplusplus
}
#endif

#endif /* HYPRA_H */
